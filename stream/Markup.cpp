#include "classxml/stream/Markup.h"

#include "classxml/platform/Utf.h"

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

// Only ASCII needs escaping, and no byte of a multi-byte sequence is ASCII: the runs between the
// bytes to escape convert whole, as the same text converted at once would.
void Markup::AppendTextUtf8(std::string_view text) {
    const auto* const bytes = reinterpret_cast<const char8_t*>(text.data());
    std::size_t run = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto unit = static_cast<WideChar>(bytes[at]);
        if (unit >= 0x80 || !NeedsEscape<false>(unit)) continue;
        platform::AppendUtf8ToUtf16({bytes + run, at - run}, m_pending);
        m_pending.append(EscapeOf(unit));
        run = at + 1;
    }
    platform::AppendUtf8ToUtf16({bytes + run, text.size() - run}, m_pending);
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
