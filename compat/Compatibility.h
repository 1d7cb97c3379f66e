#pragma once

#include <string>
#include <vector>

#include "classxml/platform/Export.h"
#include "classxml/xmlio/DtdDeclarations.h"

/// Whether a newer DTD accepts every document an older one accepts: the check a team runs
/// before a release, with the DTD each release's archive writes.
namespace classxml::compat {

/// @ingroup engine
/// One way in which documents valid against the older DTD are not valid against the newer.
struct Loss {
    std::string element; ///< the element whose documents are lost
    std::string what;    ///< why, in one line
    /// The shortest instance of `element` that shows it: valid against the older DTD, not
    /// against the newer (each child the smallest the older DTD allows).
    std::string example;
};

/// @ingroup engine
/// Every loss from `older` to `newer`, element by element in name order; none when `newer`
/// accepts all that `older` does. Each element declared in `older` counts as a possible root.
/// Throws std::invalid_argument for what it does not compare (general entities, notations,
/// ENTITY and NOTATION attributes) and for a default value its attribute's type refuses, and
/// std::length_error for models too large to compare.
CLASSXML_API std::vector<Loss> Compare(const dtd_declarations::Declarations& older,
                                       const dtd_declarations::Declarations& newer);

/// @ingroup engine
/// A content model as a DTD writes it: EMPTY, ANY, (\#PCDATA | a)* or (a, (b | c)*).
CLASSXML_API std::string ModelText(const dtd_declarations::Element& element);

} // namespace classxml::compat
