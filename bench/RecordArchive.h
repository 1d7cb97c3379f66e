#pragma once

#include <string>
#include <string_view>

#include "Records.h"
#include "classxml/archive/Archive.h"

// The records as the archives store them: the members the handle-written documents have, in
// their order, with their type texts.
template <>
struct classxml::TypeText<std::string> {
    static constexpr std::string_view value = "string"; // as the handle-written documents say
};

namespace classxml::bench {

template <class Archive>
void serialize(Archive& ar, Record& record) {
    ar("id", record.id)("value", record.value)("name", record.name)("flag", record.flag);
    ar("readings", record.readings)("tags", record.tags);
}

} // namespace classxml::bench
