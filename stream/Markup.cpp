#include "stream/Markup.h"

#include "platform/Utf.h"

namespace classxml::stream_detail {
namespace {

// The escape of each character that needs one, as the formatter writes it: entity references
// for the markup characters, hexadecimal character references in capitals for the others.
Markup::View EscapeOf(WideChar unit) {
    switch (unit) {
    case '&':
        return WIDE("&amp;");
    case '<':
        return WIDE("&lt;");
    case '>':
        return WIDE("&gt;");
    case '"':
        return WIDE("&quot;");
    case '\n':
        return WIDE("&#xA;");
    case '\r':
        return WIDE("&#xD;");
    default: // tab
        return WIDE("&#x9;");
    }
}

template <bool attribute>
bool NeedsEscape(WideChar unit) {
    if (unit > '>') return false; // by far the most common case
    if constexpr (attribute)
        return unit == '&' || unit == '<' || unit == '"' || unit == '\n' || unit == '\r' ||
               unit == '\t';
    else
        return unit == '&' || unit == '<' || unit == '>' || unit == '\r';
}

} // namespace

template <bool attribute>
void Markup::AppendEscaped(View text) {
    const WideChar* run = text.data();
    const WideChar* const end = run + text.size();
    for (const WideChar* unit = run; unit != end; ++unit) {
        if (!NeedsEscape<attribute>(*unit)) continue;
        m_pending.append(run, unit);
        m_pending.append(EscapeOf(*unit));
        run = unit + 1;
    }
    m_pending.append(run, end);
    FlushIfFull();
}

void Markup::AppendText(View text) { AppendEscaped<false>(text); }

void Markup::AppendTextUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte < 0x80) {
            const auto unit = static_cast<WideChar>(byte);
            if (NeedsEscape<false>(unit))
                m_pending.append(EscapeOf(unit));
            else
                m_pending.push_back(unit);
            ++at;
            continue;
        }
        char32_t point = 0;
        at += platform::DecodeUtf8(
            {reinterpret_cast<const char8_t*>(text.data()) + at, text.size() - at}, point);
        if (point >= 0x10000) {
            point -= 0x10000;
            m_pending.push_back(static_cast<WideChar>(0xD800 + (point >> 10)));
            m_pending.push_back(static_cast<WideChar>(0xDC00 + (point & 0x3FF)));
        } else {
            m_pending.push_back(static_cast<WideChar>(point));
        }
        FlushIfFull();
    }
    FlushIfFull();
}

void Markup::AppendAttribute(View text) { AppendEscaped<true>(text); }

void Markup::Flush() {
    if (m_pending.empty()) return;
    // Everything collected is text XML can carry, which UTF-8 and UTF-16 always represent.
    m_formatter.formatBuf(reinterpret_cast<const XMLCh*>(m_pending.data()), m_pending.size(),
                          xercesc::XMLFormatter::NoEscapes, xercesc::XMLFormatter::UnRep_Fail);
    m_pending.clear();
}

} // namespace classxml::stream_detail
