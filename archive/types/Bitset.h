#pragma once

#include <bitset>
#include <cstddef>
#include <string>
#include <string_view>

#include "classxml/archive/types/Values.h"

// A bitset, as a property element of its bits, the highest first as std::bitset writes them
// ("0101"), keytype "bitset"; exactly its size of them comes back.
namespace classxml::archive_detail {

template <std::size_t N>
struct Archived<std::bitset<N>> : ArchivedValue<std::bitset<N>> {
    static std::string_view TypeText() { return TypeTextOr<std::bitset<N>>("bitset"); }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t, const std::bitset<N>& bits) {
        ar.Writer().Write(name, TypeText(), bits.to_string());
    }
    template <class In>
    static void Load(In& ar, std::bitset<N>& bits) {
        std::string text;
        if (!ar.Reader().Read(TypeText(), text)) return;
        if (text.size() != N || text.find_first_not_of("01") != std::string::npos)
            return (void)ar.Reader().Fail(std::to_string(N) + " bits of 0 and 1",
                                          '"' + text.substr(0, 40) + '"');
        bits = std::bitset<N>(text);
    }
};

} // namespace classxml::archive_detail
