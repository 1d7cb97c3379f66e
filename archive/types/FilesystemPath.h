#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "classxml/archive/types/Values.h"

// A file system path, as a property element of its text in UTF-8 on every platform (in the
// platform's own form: a Windows path keeps its backslashes), keytype "path".
namespace classxml::archive_detail {

template <>
struct Archived<std::filesystem::path> : ArchivedValue<std::filesystem::path> {
    static std::string_view TypeText() { return TypeTextOr<std::filesystem::path>("path"); }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t,
                     const std::filesystem::path& path) {
        const std::u8string utf8 = path.u8string();
        ar.Writer().Write(
            name, TypeText(),
            std::string_view(reinterpret_cast<const char*>(utf8.data()), utf8.size()));
    }
    template <class In>
    static void Load(In& ar, std::filesystem::path& path) {
        std::string text;
        if (!ar.Reader().Read(TypeText(), text)) return;
        path = std::filesystem::path(std::u8string(text.begin(), text.end()));
    }
};

} // namespace classxml::archive_detail
