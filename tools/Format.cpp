// classxml dump --format: the document again, one element a line and indented by its depth.
// Only white space between the elements of an element without text of its own is added or taken
// away: a value, an element with text and elements (mixed content) and all within it, and all
// within xml:space="preserve", are written as they were. Mixed content is found by a first read
// of the document, before the second writes it.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <vector>

#include "Commands.h"
#include "classxml/platform/FileIO.h"
#include "classxml/platform/Utf.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::tool {
namespace {

using View = StreamReader::View;

// Text in UTF-8 with what markup needs escaped: in an attribute value also the white space
// that the parser would otherwise normalise, and in content the carriage return it would drop.
void AppendEscaped(View text, bool attribute, std::string& out) {
    const auto copy = [&](const WideChar* from, const WideChar* to) {
        platform::AppendUtf16ToUtf8(View(from, std::size_t(to - from)), out);
    };
    const auto escape = [&](std::string_view reference) { out += reference; };
    const WideChar* end = text.data() + text.size();
    if (attribute)
        xml_text::Escaped<xml_text::Escaping::Attribute>(text.data(), end, copy, escape);
    else
        xml_text::Escaped<xml_text::Escaping::Content>(text.data(), end, copy, escape);
}

bool IsSpace(View text) { return text.find_first_not_of(WIDE(" \t\r\n")) == View::npos; }

// The first read: the elements (by their place in document order) that hold both text other
// than white space and elements.
class MixedContent : public TextPieces {
public:
    void operator()(const StreamReader&, StreamReader::Event event) {
        if (event == StreamReader::Event::StartElement) {
            if (!m_open.empty()) m_open.back().hasElements = true;
            m_open.push_back({m_count++});
        } else {
            const Open element = m_open.back();
            m_open.pop_back();
            if (element.hasText && element.hasElements) m_mixed.push_back(element.ordinal);
        }
    }
    void Take(View piece) override {
        if (!m_open.empty() && !IsSpace(piece)) m_open.back().hasText = true;
    }
    // In document order.
    std::vector<std::uint64_t> Mixed() {
        std::sort(m_mixed.begin(), m_mixed.end());
        return m_mixed;
    }

private:
    struct Open {
        std::uint64_t ordinal;
        bool hasText = false, hasElements = false;
    };
    std::vector<Open> m_open;
    std::vector<std::uint64_t> m_mixed;
    std::uint64_t m_count = 0;
};

class Formatter : public TextPieces {
public:
    explicit Formatter(std::vector<std::uint64_t> mixed) : m_mixed(std::move(mixed)) {}

    void operator()(const StreamReader& reader, StreamReader::Event event) {
        if (event == StreamReader::Event::StartElement)
            Start(reader);
        else
            EndElement(reader.Name());
        Flush();
    }

    // Text of an element written as it is goes out as it comes; elsewhere white space waits,
    // to be written only as the value of an element that turns out to hold nothing else.
    void Take(View piece) override {
        if (m_elements.empty() || m_stopped) return;
        CloseStartTag();
        Element& element = m_elements.back();
        if (!element.asItIs && !IsSpace(piece)) { // text: the element's, as it stands
            AppendText(m_spaces);
            m_spaces.clear();
            element.asItIs = true;
        }
        if (element.asItIs)
            AppendText(piece);
        else
            m_spaces += piece;
        if (m_out.size() >= kFlushAt) Flush();
    }

    // Writes nothing more.
    void Stop() { m_stopped = true; }

    void Finish() {
        m_out += '\n';
        Flush();
    }

private:
    static constexpr std::size_t kFlushAt = 1 << 16;

    struct Element {
        bool hasElements = false; // at least one child element
        bool asItIs = false;      // mixed content, or within it or xml:space="preserve"
        bool preserve = false;    // xml:space="preserve" holds here
    };

    void Start(const StreamReader& reader) {
        if (!m_prologWritten) WriteProlog(reader);
        CloseStartTag();
        Element element;
        if (!m_elements.empty()) {
            Element& parent = m_elements.back();
            parent.hasElements = true;
            m_spaces.clear(); // only where it is not written as it is
            if (!parent.asItIs) NewLine(m_elements.size());
            element.preserve = parent.preserve;
            element.asItIs = parent.asItIs;
        }
        m_out += '<';
        platform::AppendUtf16ToUtf8(reader.Name(), m_out);
        for (std::size_t i = 0; i < reader.AttributeCount(); ++i) {
            m_out += ' ';
            platform::AppendUtf16ToUtf8(reader.AttributeName(i), m_out);
            m_out += "=\"";
            AppendEscaped(reader.AttributeValue(i), true, m_out);
            m_out += '"';
            if (reader.AttributeName(i) == View(WIDE("xml:space")))
                element.preserve = reader.AttributeValue(i) == View(WIDE("preserve"));
        }
        const std::uint64_t ordinal = m_count++;
        while (m_nextMixed < m_mixed.size() && m_mixed[m_nextMixed] < ordinal)
            ++m_nextMixed;
        const bool mixed = m_nextMixed < m_mixed.size() && m_mixed[m_nextMixed] == ordinal;
        element.asItIs = element.asItIs || element.preserve || mixed;
        m_tagOpen = true;
        m_elements.push_back(element);
    }

    void EndElement(View name) {
        const Element element = m_elements.back();
        m_elements.pop_back();
        if (!element.hasElements) AppendText(m_spaces); // white space is the value
        m_spaces.clear();
        if (m_tagOpen) {
            m_out += "/>";
            m_tagOpen = false;
            return;
        }
        if (element.hasElements && !element.asItIs) NewLine(m_elements.size());
        m_out += "</";
        platform::AppendUtf16ToUtf8(name, m_out);
        m_out += '>';
    }
    // The XML declaration and the DOCTYPE, which the reader knows from the first start tag on.
    void WriteProlog(const StreamReader& reader) {
        m_prologWritten = true;
        m_out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        if (reader.DocTypeName().empty()) return;
        m_out += "<!DOCTYPE ";
        platform::AppendUtf16ToUtf8(reader.DocTypeName(), m_out);
        const auto quoted = [&](View id) {
            m_out += id.find(WideChar('"')) == View::npos ? " \"" : " '";
            platform::AppendUtf16ToUtf8(id, m_out);
            m_out += id.find(WideChar('"')) == View::npos ? "\"" : "'";
        };
        if (!reader.DocTypePublicId().empty()) {
            m_out += " PUBLIC";
            quoted(reader.DocTypePublicId());
            quoted(reader.DocTypeSystemId());
        } else if (!reader.DocTypeSystemId().empty()) {
            m_out += " SYSTEM";
            quoted(reader.DocTypeSystemId());
        }
        m_out += ">\n";
    }

    void CloseStartTag() {
        if (m_tagOpen) m_out += '>';
        m_tagOpen = false;
    }
    void NewLine(std::size_t depth) {
        m_out += '\n';
        m_out.append(2 * depth, ' ');
    }
    void AppendText(View text) {
        // A surrogate pair split between two pieces is converted whole.
        if (m_highSurrogate && !text.empty()) {
            const WideChar pair[2] = {m_highSurrogate, text[0]};
            m_highSurrogate = 0;
            AppendEscaped(View(pair, 2), false, m_out);
            text.remove_prefix(1);
        }
        if (!text.empty() && platform::IsHighSurrogate(text.back())) {
            m_highSurrogate = text.back();
            text.remove_suffix(1);
        }
        AppendEscaped(text, false, m_out);
    }
    void Flush() {
        std::fwrite(m_out.data(), 1, m_out.size(), stdout);
        m_out.clear();
    }

    std::string m_out; // written out after each tag, and whenever it grows long
    CBasicString<WideChar> m_spaces;
    std::vector<Element> m_elements;
    std::vector<std::uint64_t> m_mixed; // from the first read, in document order
    std::size_t m_nextMixed = 0;
    std::uint64_t m_count = 0; // elements started
    bool m_tagOpen = false;
    bool m_prologWritten = false;
    bool m_stopped = false;
    WideChar m_highSurrogate = 0;
};

} // namespace

// Whether the document declares XML 1.1, which the 1.0 written out could not carry (its
// control characters). The declaration is ASCII: its UTF-16 is read by leaving out the zero
// bytes, and a byte-order mark is passed over.
bool DeclaresXml11(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    char head[256] = {};
    in.read(head, sizeof head);
    std::string text;
    for (std::streamsize i = 0; i < in.gcount(); ++i)
        if (head[i] != '\0' && static_cast<unsigned char>(head[i]) < 0x80) text += head[i];
    const std::size_t end = text.find("?>");
    if (text.rfind("<?xml", 0) != 0 || end == std::string::npos) return false;
    const std::string declaration = text.substr(0, end);
    const std::size_t version = declaration.find("version");
    if (version == std::string::npos) return false;
    std::string rest = declaration.substr(version + 7);
    rest.erase(
        std::remove_if(rest.begin(), rest.end(),
                       [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }),
        rest.end());
    return rest.rfind("=\"1.1\"", 0) == 0 || rest.rfind("='1.1'", 0) == 0;
}

// Standard input, a pipe or a device, copied into a new file, which goes with this.
class Copy {
public:
    explicit Copy(const Input& input) {
        std::error_code error;
        m_path = std::filesystem::temp_directory_path(error) /
                 ("classxml-format-" + std::to_string(std::random_device()()));
        int failure = 0;
        platform::OpenOptions options;
        const int from = input.standardInput
                             ? platform::StandardInput()
                             : platform::OpenFile(Wide(input.path), options, failure);
        options.access = platform::OpenOptions::Access::Write;
        options.create = options.exclusive = true;
        const int to = from < 0 ? -1 : platform::OpenFile(Wide(m_path), options, failure);
        std::vector<unsigned char> buffer(std::size_t(1) << 20);
        for (std::int64_t got; to >= 0 && (got = platform::ReadFile(from, buffer.data(),
                                                                    buffer.size(), failure)) > 0;)
            if (platform::WriteFile(to, buffer.data(), std::size_t(got)) != 0) break;
        if (to >= 0) platform::CloseFile(to);
        if (from >= 0 && !input.standardInput) platform::CloseFile(from);
    }
    ~Copy() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

int Format(const Input& given, const DtdChoice& dtd) {
    // Read twice: what cannot be read again goes into a file of its own first.
    std::error_code error;
    std::optional<Copy> copy;
    Input input = given;
    if (given.standardInput || !std::filesystem::is_regular_file(given.path, error)) {
        copy.emplace(given);
        input = Input(copy->Path().string());
        input.shownAs = given.Name();
    }
    if (DeclaresXml11(input.path))
        return Fail(given.Name(), "an XML 1.1 document, which --format (writing XML 1.0) cannot "
                                  "carry");
    Report first;
    MixedContent mixed;
    ReadDocument(
        input, dtd,
        [&](const StreamReader& reader, StreamReader::Event event) { mixed(reader, event); }, first,
        &mixed);
    if (first.status != 0) return first.Print(), first.status;
    Report report;
    Formatter formatter(mixed.Mixed());
    bool internalSubset = false;
    ReadDocument(
        input, dtd,
        [&](const StreamReader& reader, StreamReader::Event event) {
            if (reader.DocTypeHasInternalSubset()) internalSubset = true, formatter.Stop();
            if (!internalSubset) formatter(reader, event);
        },
        report, &formatter);
    if (internalSubset && report.status == 0)
        report.Fail(given.Name(), "its DOCTYPE has an internal subset, which --format cannot keep");
    else if (report.status == 0)
        formatter.Finish();
    report.Print();
    return report.status;
}

} // namespace classxml::tool
