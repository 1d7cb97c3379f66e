#include "classxml/stream/ScannerEvents.h"

#include <algorithm>
#include <cstring>

#include "classxml/platform/SameBytes.h"
#include "classxml/platform/Utf.h"

namespace classxml::stream_detail {
namespace {

using Token = scanner::Scanner::Token;

// The three-byte form of a surrogate, which only a UTF-16 document puts into the scanner's text.
bool HasSurrogate(std::string_view utf8) {
    for (std::size_t at = utf8.find('\xED'); at != std::string_view::npos;
         at = utf8.find('\xED', at + 1))
        if (at + 1 < utf8.size() && static_cast<unsigned char>(utf8[at + 1]) >= 0xA0) return true;
    return false;
}

// UTF-8 to UTF-16 where surrogates stand for themselves.
void AppendWithSurrogates(std::string_view utf8, CBasicString<WideChar>& out) {
    for (std::size_t at = 0; at < utf8.size();) {
        char32_t character = 0;
        const auto* bytes = reinterpret_cast<const unsigned char*>(utf8.data()) + at;
        if (bytes[0] == 0xED && at + 2 < utf8.size() && bytes[1] >= 0xA0) {
            character =
                char32_t((bytes[0] & 0x0F) << 12 | (bytes[1] & 0x3F) << 6 | (bytes[2] & 0x3F));
            at += 3;
        } else {
            at += platform::DecodeUtf8({reinterpret_cast<const char8_t*>(bytes), utf8.size() - at},
                                       character);
        }
        if (character >= 0x10000) {
            out += WideChar(platform::kFirstHighSurrogate + ((character - 0x10000) >> 10));
            out += WideChar(platform::kFirstLowSurrogate + ((character - 0x10000) & 0x3FF));
        } else {
            out += WideChar(character);
        }
    }
}

} // namespace

ScannerEvents::ScannerEvents(std::unique_ptr<scanner::ByteSource> bytes,
                             const scanner::Route& route, Report report)
    : m_bytes(std::move(bytes)),
      m_scanner(*m_bytes, route.encoding, route.byteOrderMark, route.declaration),
      m_utf16(route.encoding != scanner::Encoding::Utf8), m_report(std::move(report)) {}

ScannerEvents::~ScannerEvents() = default;

EventSource::Step ScannerEvents::Next() {
    static_assert(int(Token::Broken) == int(Step::Broken));
    for (;;) {
        const Token token = m_scanner.Next();
        ++m_serial;
        switch (token) {
        case Token::StartTag:
        case Token::EndTag:
            ++m_tags;
            m_textBytes = 0;
            return Step(token);
        case Token::Text:
            m_textBytes += m_scanner.Text().size();
            if (!m_sending) return Step::Text;
            Hand(m_scanner.Text());
            continue;
        case Token::End:
            return Step::End;
        case Token::Error:
            if (!m_reported) m_report(m_scanner.Failed());
            m_reported = true;
            return Step::Error;
        default:
            return Step::Broken;
        }
    }
}

void ScannerEvents::Hand(std::string_view text) {
    if (!m_pieces || (m_piecesDepth != 0 && m_piecesDepth != m_scanner.Depth())) return;
    HandTo(text, *m_pieces);
}

void ScannerEvents::HandTo(std::string_view text, TextPieces& pieces) {
    if (m_utf16 && HasSurrogate(text)) {
        CBasicString<WideChar> wide;
        AppendWithSurrogates(text, wide);
        pieces.Take(wide);
    } else {
        pieces.TakeUtf8(text);
    }
}

void ScannerEvents::HandText(TextPieces& pieces) { HandTo(m_scanner.Text(), pieces); }

StreamReader::View ScannerEvents::Wide(std::string_view utf8, CBasicString<WideChar>& into,
                                       std::uint64_t& serial) {
    if (serial != m_serial) {
        into.clear();
        if (m_utf16)
            AppendWithSurrogates(utf8, into);
        else
            platform::AppendUtf8ToUtf16(platform::AsUtf8(utf8), into);
        serial = m_serial;
    }
    return into;
}

std::string_view ScannerEvents::Utf8OfUtf16(std::string_view internal, std::string& into) {
    if (!HasSurrogate(internal)) return internal;
    CBasicString<WideChar> wide;
    AppendWithSurrogates(internal, wide);
    into.clear();
    platform::AppendUtf16ToUtf8(wide, into);
    return into;
}

StreamReader::View ScannerEvents::Name() {
    if (m_lastNameSerial != m_serial) {
        const std::string_view name = m_scanner.Name();
        auto [entry, added] = m_names.try_emplace(std::string(name));
        if (added) {
            std::uint64_t ignored = 0;
            Wide(name, entry->second, ignored);
        }
        m_lastName = &entry->second;
        m_lastNameSerial = m_serial;
    }
    return *m_lastName;
}

StreamReader::View ScannerEvents::AttributeName(std::size_t index) {
    if (m_attributeNames.size() <= index) {
        m_attributeNames.resize(index + 1);
        m_attributeNamesSerial.resize(index + 1, 0);
    }
    return Wide(m_scanner.AttributeName(index), m_attributeNames[index],
                m_attributeNamesSerial[index]);
}

StreamReader::View ScannerEvents::AttributeValue(std::size_t index) {
    if (m_attributeValues.size() <= index) {
        m_attributeValues.resize(index + 1);
        m_attributeValuesSerial.resize(index + 1, 0);
    }
    return Wide(m_scanner.AttributeValue(index), m_attributeValues[index],
                m_attributeValuesSerial[index]);
}

std::string_view ScannerEvents::AttributeValueUtf8(std::size_t index) {
    if (m_attributeValuesUtf8.size() <= index) m_attributeValuesUtf8.resize(index + 1);
    return Utf8(m_scanner.AttributeValue(index), m_attributeValuesUtf8[index]);
}

std::string_view ScannerEvents::AttributeNameUtf8(std::size_t index) {
    if (m_attributeNamesUtf8.size() <= index) m_attributeNamesUtf8.resize(index + 1);
    return Utf8(m_scanner.AttributeName(index), m_attributeNamesUtf8[index]);
}

std::optional<std::string_view> ScannerEvents::AttributeUtf8(std::string_view name) {
    const std::size_t count = m_scanner.AttributeCount();
    for (std::size_t i = 0; i < count; ++i)
        if (platform::SameBytes(m_scanner.AttributeName(i), name))
            return m_utf16 ? AttributeValueUtf8(i) : m_scanner.AttributeValue(i);
    return std::nullopt;
}

std::size_t ScannerEvents::IndexOf(View name) {
    const std::size_t count = m_scanner.AttributeCount();
    const bool ascii =
        std::all_of(name.begin(), name.end(), [](WideChar unit) { return unit < 0x80; });
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view candidate = m_scanner.AttributeName(i);
        if (ascii) {
            if (candidate.size() == name.size() &&
                std::equal(name.begin(), name.end(), candidate.begin(),
                           [](WideChar unit, char c) { return unit == WideChar(c); }))
                return i;
        } else if (AttributeName(i) == name) {
            return i;
        }
    }
    return count;
}

const scanner::Scanner::Failure& ScannerEvents::BrokenHere() {
    m_broken = m_scanner.BrokenFailure();
    return m_broken;
}

} // namespace classxml::stream_detail
