#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/detail/Transport.h"

// Binary members, std::vector<std::byte>: the class element "FileTransport" holding the bytes
// as base64 in its one property element "fileContent", with their number in "varsize", so that
// pre-read extraction moves a large one into a side file; loaded from the text or from the side
// file named in its place (only in the loaded document's own folder).
namespace classxml::archive_detail {

template <>
struct Archived<std::vector<std::byte>> {
    static constexpr Shape shape = Shape::Class;
    static std::string_view TypeText() { return kTransport; }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index,
                     const std::vector<std::byte>& bytes) {
        ar.Writer().WriteBytes(index ? std::string_view() : name, index, bytes);
    }
    template <class In>
    static void Load(In& ar, std::vector<std::byte>& bytes) {
        auto& reader = ar.Reader();
        if (!reader.IsClass(kTransport) || !reader.EnterMember(kContent)) return;
        reader.ReadBytes(reader.Attribute(kSize), bytes);
        reader.Leave();
    }
    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view) {
        const std::string element(kTransport);
        if (!dtd.Declarations().Described(element)) {
            dtd.Declarations().Declare(element, "(" + std::string(kContent) + ")", {"varname"});
            dtd.Declarations().Declare(std::string(kContent), "(#PCDATA)", {"keytype", kSize});
        }
        return element;
    }
};

} // namespace classxml::archive_detail
