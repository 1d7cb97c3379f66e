#include "classxml/archive/engines/ArchiveReader.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "classxml/platform/FileIO.h"
#include "classxml/platform/Utf.h"
#include "classxml/platform/Uuid.h"
#include "classxml/stream/TextCollectors.h"
#include "classxml/valuetext/Base64.h"
#include "classxml/valuetext/ValueText.h"

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

namespace {

// A fileContent element's text: base64, decoded as it comes, or (once pre-read extraction has
// moved the base64 out) the path of its side file, which is short and ends in ".base64", a
// character base64 never holds. The first characters are held until it is known which.
class TransportText final : public TextPieces {
public:
    explicit TransportText(std::vector<std::byte>& bytes) : m_decoder(bytes) {}

    void Take(CBasicStringView<WideChar> piece) override {
        m_narrow.clear(); // one buffer for every piece of a long text
        platform::AppendUtf16ToUtf8(piece, m_narrow);
        TakeUtf8(m_narrow);
    }
    void TakeUtf8(std::string_view piece) override {
        if (m_decoding) return (void)m_decoder.Take(piece);
        m_head.append(piece);
        if (m_head.size() > kLongestPath) Decode();
    }
    // The side file's path, or nothing once the base64 text is decoded.
    std::optional<std::string> SideFile() {
        if (!m_decoding && m_head.ends_with(".base64")) return m_head;
        Decode();
        return std::nullopt;
    }
    bool Valid() const { return m_decoder.Finish(); }

private:
    static constexpr std::size_t kLongestPath = 4096;
    void Decode() {
        if (m_decoding) return;
        m_decoding = true;
        m_decoder.Take(m_head);
        m_head = {};
    }

    value_text::Base64Decoder m_decoder;
    std::string m_head, m_narrow;
    bool m_decoding = false;
};

std::filesystem::path PathOf(std::string_view utf8) { return platform::AsUtf8(utf8); }

// The side file's name, when it is one extraction writes: a UUID and ".base64".
bool IsSideFileName(std::string_view name) {
    constexpr std::string_view kEnding = ".base64";
    return name.ends_with(kEnding) &&
           platform::IsUuidText(name.substr(0, name.size() - kEnding.size()));
}

} // namespace

void ArchiveReader::Loading(std::string_view path, std::uint64_t size) {
    const std::size_t slash = path.find_last_of("/\\");
    m_folder = slash == std::string_view::npos ? std::string(path.empty() ? "" : ".")
                                               : std::string(path.substr(0, slash));
    if (!path.empty() && m_folder.empty()) m_folder = "/";
    m_inputSize = size;
}

std::uint64_t ArchiveReader::FileSize(std::string_view path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(PathOf(path), error);
    return error ? 0 : size;
}

bool ArchiveReader::ReadBytes(const std::optional<std::string>& sizeText,
                              std::vector<std::byte>& bytes) {
    std::optional<std::uint64_t> size;
    if (sizeText) {
        size = value_text::ParseUnsignedExact(*sizeText, UINT64_MAX);
        if (!size) return Fail("a varsize of 0 or more", '"' + *sizeText + '"');
    }
    // Reserved once, no more than the document (or side file) could hold, so that a large
    // binary never takes twice its size while the vector grows.
    const auto reserve = [&](std::uint64_t available) {
        if (size) bytes.reserve(std::size_t(std::min(*size, available / 4 * 3 + 3)));
    };
    bytes.clear();
    reserve(m_inputSize);
    TransportText text(bytes);
    if (!TextOf("base64", text)) return false;
    if (const auto side = text.SideFile()) {
        bytes.clear();
        const std::size_t slash = side->find_last_of("/\\");
        const std::string name = side->substr(slash == std::string::npos ? 0 : slash + 1);
        if (!IsSideFileName(name))
            return Fail("base64 text, or the side file pre-read extraction wrote",
                        '"' + *side + '"');
        if (m_folder.empty())
            return Fail("a document loaded from a file, whose folder holds side file " + name,
                        "a document loaded from a string");
        const std::filesystem::path file = PathOf(m_folder) / PathOf(name);
        std::error_code error;
        const std::uint64_t fileSize = std::filesystem::file_size(file, error);
        std::ifstream in(file, std::ios::binary);
        if (error || !in) return Fail("the side file " + name + " beside the document", "none");
        reserve(fileSize);
        value_text::Base64Decoder decoder(bytes);
        std::string piece(std::size_t(1) << 20, '\0');
        while (in) {
            in.read(piece.data(), std::streamsize(piece.size()));
            if (!decoder.Take(std::string_view(piece.data(), std::size_t(in.gcount())))) break;
        }
        if (!decoder.Finish()) return Fail("base64 text in side file " + name, "other text");
    } else if (!text.Valid()) {
        return Fail("base64 text", "other text");
    }
    if (size && bytes.size() != *size)
        return Fail(std::to_string(*size) + " bytes", std::to_string(bytes.size()));
    return true;
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
    return FailAt(m_path.Text(leaf), std::move(expected), std::move(found));
}

std::string ArchiveReader::Where() const { return m_path.Text(); }

bool ArchiveReader::FailAt(std::string path, std::string expected, std::string found) {
    if (Failed()) return false;
    m_result.ok = false;
    m_result.path = std::move(path);
    m_result.expected = std::move(expected);
    m_result.found = std::move(found);
    return false;
}

} // namespace classxml::archive_detail
