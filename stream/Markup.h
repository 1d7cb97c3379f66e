#pragma once

#include <string_view>

#include <xercesc/framework/XMLFormatter.hpp>

#include "classxml/BasicString.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::stream_detail {

// The text of a document on its way out: markup and escaped text collected as UTF-16 and handed
// to Xerces' formatter in large pieces, which transcodes them into the output encoding and
// writes them to the target. The escapes are the serialiser's own (the formatter's character
// and attribute escapes of XML 1.0), so that the bytes are the ones a DOM save writes.
class Markup {
public:
    using View = CBasicStringView<WideChar>;

    explicit Markup(xercesc::XMLFormatter& formatter) : m_formatter(formatter) {
        m_pending.reserve(kFlushUnits + 1024);
    }

    // Markup, as it stands.
    void Append(View text) {
        m_pending.append(text);
        FlushIfFull();
    }
    void Append(WideChar unit) { m_pending.push_back(unit); }
    // Content: "&", "<", ">" and carriage return escaped; in UTF-16 or from UTF-8, decoded as
    // it is taken (an ill-formed sequence is U+FFFD).
    void AppendText(View text);
    void AppendTextUtf8(std::string_view text);
    // An attribute value: "&", "<", '"', line feed, carriage return and tab escaped.
    void AppendAttribute(View text);

    // Hands everything collected to the formatter. A failing target throws through it.
    void Flush();

private:
    static constexpr std::size_t kFlushUnits = 16 * 1024;

    template <xml_text::Escaping kind, class Unit, class Copy>
    void AppendEscaped(const Unit* begin, const Unit* end, Copy copy);
    void FlushIfFull() {
        if (m_pending.size() >= kFlushUnits) Flush();
    }

    xercesc::XMLFormatter& m_formatter;
    CBasicString<WideChar> m_pending;
};

} // namespace classxml::stream_detail
