// classxml dump --format: the document again, one element a line and indented by its depth, as
// it is read. Only white space between elements is added or taken away; a value, and the text
// of an element that has both text and elements, is written as it was.
#include <cstdio>
#include <vector>

#include "Commands.h"
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

class Formatter : public TextPieces {
public:
    void operator()(const StreamReader& reader, StreamReader::Event event) {
        if (event == StreamReader::Event::StartElement)
            Start(reader);
        else
            EndElement(reader.Name());
        Flush();
    }

    // Text waits until it is known whether its element has elements: white space between
    // elements is dropped, any other text is the element's and is written as it came.
    void Take(View piece) override {
        if (m_elements.empty() || m_stopped) return;
        CloseStartTag();
        Element& element = m_elements.back();
        if (element.mixed || !IsSpace(piece)) {
            if (!element.mixed) AppendText(m_spaces);
            m_spaces.clear();
            element.mixed = true;
            AppendText(piece);
        } else {
            m_spaces += piece;
        }
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
        bool mixed = false;       // text other than white space: written as it is
    };

    void Start(const StreamReader& reader) {
        if (!m_prologWritten) WriteProlog(reader);
        CloseStartTag();
        if (!m_elements.empty()) {
            Element& parent = m_elements.back();
            if (parent.mixed) AppendText(m_spaces); // white space inside text is the text's
            m_spaces.clear();
            parent.hasElements = true;
        }
        if (!m_elements.empty() && !m_elements.back().mixed) NewLine(m_elements.size());
        m_out += '<';
        platform::AppendUtf16ToUtf8(reader.Name(), m_out);
        for (std::size_t i = 0; i < reader.AttributeCount(); ++i) {
            m_out += ' ';
            platform::AppendUtf16ToUtf8(reader.AttributeName(i), m_out);
            m_out += "=\"";
            AppendEscaped(reader.AttributeValue(i), true, m_out);
            m_out += '"';
        }
        m_tagOpen = true;
        m_elements.push_back({});
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
        if (element.hasElements && !element.mixed) NewLine(m_elements.size());
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
    bool m_tagOpen = false;
    bool m_prologWritten = false;
    bool m_stopped = false;
    WideChar m_highSurrogate = 0;
};

} // namespace

int Format(const Input& input, const DtdChoice& dtd) {
    Report report;
    Formatter formatter;
    bool internalSubset = false;
    ReadDocument(
        input, dtd,
        [&](const StreamReader& reader, StreamReader::Event event) {
            if (reader.DocTypeHasInternalSubset()) internalSubset = true, formatter.Stop();
            if (!internalSubset) formatter(reader, event);
        },
        report, &formatter);
    if (internalSubset && report.status == 0)
        report.Fail(input.Name(), "its DOCTYPE has an internal subset, which --format cannot keep");
    else if (report.status == 0)
        formatter.Finish();
    report.Print();
    return report.status;
}

} // namespace classxml::tool
