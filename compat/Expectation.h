#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "classxml/platform/Export.h"
#include "classxml/xmlio/DtdDeclarations.h"

// What a content model expected where an element's children broke it: the line a validity error
// gets below the parser's own, as xmllint says what it expected and what it got.
namespace classxml::compat {

// A content model as the parser writes it in its messages ("(count,offset,name?)", "(a|b)*",
// "(#PCDATA|a)*"); nothing when it is not one.
CLASSXML_API std::optional<dtd_declarations::Particle> ParseModel(std::string_view text);

// Children in document order, a run of one name at a time: ("record", 100000) holds what a
// long list of records takes in constant room.
using ChildRuns = std::vector<std::pair<std::string, std::size_t>>;

// "Expected count, found offset", "Expected offset or name, found the end of Settings": where
// `children` of `element` first leave `model`, what could have stood there and what did. Empty
// when the children follow the model, which then is not the one that broke.
CLASSXML_API std::string Expectation(std::string_view element,
                                     const dtd_declarations::Particle& model,
                                     const ChildRuns& children);

} // namespace classxml::compat
