#include "classxml/stream/Markup.h"

#include "classxml/platform/Utf.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::stream_detail {
template <xml_text::Escaping kind, class Unit, class Copy>
void Markup::AppendEscaped(const Unit* begin, const Unit* end, Copy copy) {
    xml_text::Escaped<kind>(begin, end, copy, [&](std::string_view reference) {
        m_pending.append(reference.begin(), reference.end());
    });
    FlushIfFull();
}

void Markup::AppendText(View text) {
    AppendEscaped<xml_text::Escaping::Content>(
        text.data(), text.data() + text.size(),
        [&](const WideChar* from, const WideChar* to) { m_pending.append(from, to); });
}

// The runs between the bytes to escape convert whole, as the same text converted at once would.
void Markup::AppendTextUtf8(std::string_view text) {
    AppendEscaped<
        xml_text::Escaping::
            Content>(text.data(), text.data() + text.size(), [&](const char* from, const char* to) {
        platform::AppendUtf8ToUtf16(platform::AsUtf8({from, std::size_t(to - from)}), m_pending);
    });
}

void Markup::AppendAttribute(View text) {
    AppendEscaped<xml_text::Escaping::Attribute>(
        text.data(), text.data() + text.size(),
        [&](const WideChar* from, const WideChar* to) { m_pending.append(from, to); });
}

void Markup::Flush() {
    if (m_pending.empty()) return;
    // Everything collected is text XML can carry, which UTF-8 and UTF-16 always represent.
    m_formatter.formatBuf(reinterpret_cast<const XMLCh*>(m_pending.data()), m_pending.size(),
                          xercesc::XMLFormatter::NoEscapes, xercesc::XMLFormatter::UnRep_Fail);
    m_pending.clear();
}

} // namespace classxml::stream_detail
