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
    /// A name, or a group of particles in order or to choose from.
    enum class Kind { Name, Sequence, Choice };
    Kind kind = Kind::Name;      ///< what it is
    std::string name;            ///< for Kind::Name
    std::vector<Particle> items; ///< for a sequence or choice
    char repeat = '1';           ///< '1', '?', '*' or '+'
};

/// @ingroup engine
/// An attribute an element may carry.
struct Attribute {
    /// Its type: CDATA, ID, ..., or a list of choices (Enumeration).
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
    /// A default value, \#FIXED, \#REQUIRED or \#IMPLIED.
    enum class Presence { Default, Fixed, Required, Implied };
    std::string name;                      ///< its name
    Type type = Type::CData;               ///< its type
    std::vector<std::string> values;       ///< the choices of an enumeration or notation type
    Presence presence = Presence::Implied; ///< whether it must be given, or what it is without
    std::string value;                     ///< the default or fixed value
};

/// @ingroup engine
/// A declared element: what it may hold and the attributes it takes.
struct Element {
    /// EMPTY, ANY, mixed content (text among listed elements) or element content.
    enum class Content { Empty, Any, Mixed, Children };
    std::string name;                  ///< its name
    Content content = Content::Empty;  ///< what kind of content it has
    Particle model;                    ///< Children: the content model
    std::vector<std::string> mixed;    ///< Mixed: the element names allowed among the text
    std::vector<Attribute> attributes; ///< by name
};

/// @ingroup engine
/// The declared elements of a DTD, in name order, and whether it declares general entities or
/// notations.
struct Declarations {
    std::vector<Element> elements; ///< by name
    bool generalEntities = false;  ///< whether it declares a general entity
    bool notations = false;        ///< whether it declares a notation
};

/// @ingroup engine
/// Reads the DTD at `path`; its external parameter entities are looked up beside it, as a
/// document's DTD is. On failure, answers false with why in `problem` (the parser's first
/// error, with its line and column).
CLASSXML_API bool Read(CBasicStringView<WideChar> path, Declarations& declarations,
                       std::string& problem);

} // namespace classxml::dtd_declarations
