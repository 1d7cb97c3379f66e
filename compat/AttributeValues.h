#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "classxml/xmlio/DtdDeclarations.h"

// The values an attribute declaration takes, for telling whether a newer declaration takes all
// that an older one does.
namespace classxml::compat {

// Whether the declaration takes `value` (as the parser sees it after normalisation).
bool Takes(const dtd_declarations::Attribute& attribute, std::string_view value);

// Values `older` takes that show every way a differently declared `newer` can refuse one: its
// fixed value or choices, or values of each shape its type allows (not a name, several names,
// empty), and a name that `newer`'s choices lack.
std::vector<std::string> Samples(const dtd_declarations::Attribute& older,
                                 const dtd_declarations::Attribute& newer);

// One value `attribute` takes, for the required attributes of an example.
std::string AnyValue(const dtd_declarations::Attribute& attribute);

} // namespace classxml::compat
