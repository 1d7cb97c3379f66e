#include "classxml/archive/engines/ArchiveReader.h"

#include "classxml/platform/FileIO.h"
#include "classxml/stream/TextCollectors.h"

namespace classxml::archive_detail {

ArchiveReader::~ArchiveReader() = default;

// Numbers are short by nature: their text is held in place, and a long one (leading zeros, a
// long fraction) whole up to a bound (see ValueText), whatever the document holds.
template <class Value>
bool ArchiveReader::ReadValue(std::string_view type, Value& value) {
    stream_detail::ValueText text;
    if (!TextOf(type, text)) return false;
    const std::optional<Value> parsed = text.Parse<Value>();
    if (!parsed) return Fail(std::string(type), text.Quoted());
    value = *parsed;
    return true;
}

// Text is built in place as it is read.
template <class Collector, class Text>
bool ArchiveReader::ReadText(std::string_view type, Text& text) {
    Collector collector(text);
    const bool read = TextOf(type, collector);
    collector.Finish();
    return read;
}

// One line per value type: each goes through the one conversion of its type.
#define CLASSXML_READ(Type, Text)                                                                  \
    bool ArchiveReader::Read(std::string_view type, Type& value) { return ReadValue(type, value); }
CLASSXML_VALUE_FAMILIES(CLASSXML_READ)
#undef CLASSXML_READ

bool ArchiveReader::Read(std::string_view type, std::string& value) {
    return ReadText<stream_detail::Utf8Text>(type, value);
}

bool ArchiveReader::Read(std::string_view type, std::u16string& value) {
    return ReadText<stream_detail::Utf16Text<std::u16string>>(type, value);
}

bool ArchiveReader::ClassVersion(const std::optional<std::string>& text,
                                 std::uint32_t programVersion, std::string_view className,
                                 std::uint32_t& version) {
    version = 0;
    if (!text) return true;
    const auto value = value_text::ParseUnsignedExact(*text, UINT32_MAX);
    if (!value) return Fail("a class version of 0 or more", '"' + *text + '"');
    version = std::uint32_t(*value);
    if (version <= programVersion || m_newerVersions) return true;
    return Fail("version " + std::to_string(programVersion) + " or older of class " +
                    std::string(className),
                "version " + *text + " in the file");
}

bool ArchiveReader::Unopened(std::string_view path, int error) {
    m_result.diagnostics = LastDiagnostics();
    return Fail({}, "cannot open \"" + std::string(path) + "\": " + platform::ErrorText(error));
}

bool ArchiveReader::WrongContainer(std::string_view kind, std::string_view itemType,
                                   std::string_view valueType, std::string_view foundKind,
                                   std::string_view foundItem, std::string_view foundValue) {
    const bool map = kind == "map";
    const auto describe = [map](std::string_view k, std::string_view i, std::string_view v) {
        return std::string(k) + " of " + std::string(i) + (map ? " to " + std::string(v) : "");
    };
    return Fail(describe(kind, itemType, valueType), describe(foundKind, foundItem, foundValue));
}

bool ArchiveReader::Fail(std::string expected, std::string found, std::string_view leaf) {
    if (Failed()) return false;
    m_result.ok = false;
    m_result.path = m_path.Text(leaf);
    m_result.expected = std::move(expected);
    m_result.found = std::move(found);
    return false;
}

} // namespace classxml::archive_detail
