#pragma once

#include <string>
#include <vector>

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"

// The declarations of a DTD as plain data: what its elements may hold and which attributes they
// take, with every parameter entity expanded. Names and values are UTF-8.
namespace classxml::dtd_declarations {

/// @ingroup engine
/// A content particle: a name, or a sequence or choice of particles, each with how often it
/// may stand ('1' once, '?', '*' or '+').
struct Particle {
    enum class Kind { Name, Sequence, Choice };
    Kind kind = Kind::Name;
    std::string name; ///< for Kind::Name
    std::vector<Particle> items;
    char repeat = '1';
};

/// @ingroup engine
struct Attribute {
    enum class Type {
        CData,
        Id,
        IdRef,
        IdRefs,
        Entity,
        Entities,
        NmToken,
        NmTokens,
        Notation,
        Enumeration
    };
    enum class Presence { Default, Fixed, Required, Implied };
    std::string name;
    Type type = Type::CData;
    std::vector<std::string> values; ///< the choices of an enumeration or notation type
    Presence presence = Presence::Implied;
    std::string value; ///< the default or fixed value
};

/// @ingroup engine
struct Element {
    enum class Content { Empty, Any, Mixed, Children };
    std::string name;
    Content content = Content::Empty;
    Particle model;                 ///< Children: the content model
    std::vector<std::string> mixed; ///< Mixed: the element names allowed among the text
    std::vector<Attribute> attributes;
};

/// @ingroup engine
/// The declared elements of a DTD, in name order, and whether it declares general entities or
/// notations.
struct Declarations {
    std::vector<Element> elements;
    bool generalEntities = false;
    bool notations = false;
};

/// @ingroup engine
/// Reads the DTD at `path`; its external parameter entities are looked up beside it, as a
/// document's DTD is. On failure, answers false with why in `problem` (the parser's first
/// error, with its line and column).
CLASSXML_API bool Read(CBasicStringView<WideChar> path, Declarations& declarations,
                       std::string& problem);

} // namespace classxml::dtd_declarations
