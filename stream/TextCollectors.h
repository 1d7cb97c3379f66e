#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "classxml/BasicString.h"
#include "classxml/platform/Utf.h"
#include "classxml/stream/StreamReader.h"
#include "classxml/valuetext/ValueText.h"

// What the stream reader and the archives build a text in, piece by piece as it is read.
namespace classxml::stream_detail {

// A long text is built in chunks and put together once it is complete. A string that grows by
// doubling copies itself into twice the room and for a moment holds the text twice over; the
// chunks go into exactly the room the text needs, each freed as soon as it is in, so that the
// text is held about once at every moment, whatever its length and whether or not the reader
// knows how long the document is (a pipe). A short text goes straight into its string.
template <class String>
class Assembled {
public:
    using Unit = typename String::value_type;

    explicit Assembled(String& text) : m_text(text) { text.clear(); }

    void Append(const Unit* units, std::size_t count) {
        if (m_chunks.empty() && m_text.size() + count <= kChunk) {
            m_text.append(units, count);
            return;
        }
        if (m_chunks.empty()) m_chunks.push_back(std::exchange(m_text, String()));
        while (count > 0) {
            if (m_chunks.back().size() >= kChunk) m_chunks.emplace_back().reserve(kChunk);
            const std::size_t room = std::max(kChunk - m_chunks.back().size(), std::size_t(1));
            const std::size_t taken = std::min(count, room);
            m_chunks.back().append(units, taken);
            units += taken;
            count -= taken;
        }
    }
    void Finish() {
        if (m_chunks.empty()) return;
        std::size_t total = 0;
        for (const String& chunk : m_chunks)
            total += chunk.size();
        m_text.reserve(total); // room that is only touched as the chunks go in
        for (String& chunk : m_chunks)
            m_text.append(std::exchange(chunk, String()));
        m_chunks.clear();
    }

private:
    static constexpr std::size_t kChunk = std::size_t(1) << 20;
    String& m_text;
    std::vector<String> m_chunks; // the text so far, once it is longer than a chunk
};

// A text in UTF-16 (WideChar or char16_t), as it is read.
template <class String>
class Utf16Text : public TextPieces {
public:
    explicit Utf16Text(String& text) : m_text(text) {}
    void Take(CBasicStringView<WideChar> piece) override {
        static_assert(sizeof(typename String::value_type) == sizeof(WideChar));
        m_text.Append(reinterpret_cast<const typename String::value_type*>(piece.data()),
                      piece.size());
    }
    void TakeUtf8(std::string_view piece) override {
        m_converted.clear();
        platform::AppendUtf8ToUtf16(platform::AsUtf8(piece), m_converted);
        Take(m_converted);
    }
    void Finish() { m_text.Finish(); }

private:
    Assembled<String> m_text;
    CBasicString<WideChar> m_converted; // a piece of UTF-8
};

// A text in UTF-8, converted as it is read: a surrogate pair split between two pieces waits
// for its second half.
class Utf8Text : public TextPieces {
public:
    explicit Utf8Text(std::string& text) : m_text(text) {}
    void Take(CBasicStringView<WideChar> piece) override {
        if (piece.empty()) return;
        if (m_waiting) { // the second half of a pair, or a lone high surrogate
            const WideChar pair[2] = {m_waiting, piece.front()};
            m_waiting = 0;
            const bool joined = platform::IsLowSurrogate(pair[1]);
            Append({pair, std::size_t(joined ? 2 : 1)});
            if (joined) piece.remove_prefix(1);
        }
        if (!piece.empty() && platform::IsHighSurrogate(piece.back())) {
            m_waiting = piece.back();
            piece.remove_suffix(1);
        }
        // A CDATA section comes as one piece: converted a slice at a time.
        while (!piece.empty()) {
            std::size_t slice = std::min(piece.size(), kSlice);
            if (slice < piece.size() && platform::IsHighSurrogate(piece[slice - 1])) ++slice;
            Append(piece.substr(0, slice));
            piece.remove_prefix(slice);
        }
    }
    // Whole characters of UTF-8 go in as they are.
    void TakeUtf8(std::string_view piece) override {
        if (m_waiting) Append({&m_waiting, 1}), m_waiting = 0; // unpaired: U+FFFD
        m_text.Append(piece.data(), piece.size());
    }
    void Finish() {
        if (m_waiting) Append({&m_waiting, 1}); // unpaired: U+FFFD
        m_waiting = 0;
        m_text.Finish();
    }

private:
    static constexpr std::size_t kSlice = 16 * 1024;
    // Up to three bytes a unit; a short text (most are) is converted on the stack.
    void Append(CBasicStringView<WideChar> units) {
        char local[3 * 64];
        char* converted = local;
        if (units.size() > 64) {
            m_converted.resize(3 * units.size());
            converted = m_converted.data();
        }
        m_text.Append(converted, platform::EncodeUtf16AsUtf8(units, converted));
    }

    Assembled<std::string> m_text;
    std::string m_converted; // one slice
    WideChar m_waiting = 0;
};

// The text of one value of a number family, bool included: short by nature, so its first
// kShort bytes of UTF-8 are held in place, with no allocation; a longer one (leading zeros, a
// long fraction) is kept whole up to kLongest, as the DOM engine reads it; of a longer text
// still only its start is kept, for the message.
class ValueText : public TextPieces {
public:
    static constexpr std::size_t kShort = 256;
    static constexpr std::size_t kLongest = std::size_t(1) << 20;

    void Take(CBasicStringView<WideChar> piece) override {
        std::string utf8;
        platform::AppendUtf16ToUtf8(piece, utf8);
        TakeUtf8(utf8);
    }
    void TakeUtf8(std::string_view piece) override {
        const std::size_t total = m_length + piece.size();
        if (m_length < kShort)
            std::copy_n(piece.data(), std::min(piece.size(), kShort - m_length), m_text + m_length);
        if (total > kShort && total <= kLongest) {
            if (m_long.empty()) m_long.assign(m_text, m_length); // all of it until now
            m_long.append(piece);
        }
        m_length = total;
    }

    // The value, when the whole text is one value of its type.
    template <class Value>
    std::optional<Value> Parse() const {
        if (m_length > kLongest) return std::nullopt;
        return value_text::Codec<Value>::ParseExact(m_length > kShort ? std::string_view(m_long)
                                                                      : Kept());
    }

    // The text as a message shows it: quoted, and cut short, at a character's start, when long.
    std::string Quoted() const {
        constexpr std::size_t kShown = 40;
        std::string_view shown = Kept();
        if (shown.size() > kShown) {
            std::size_t cut = kShown;
            while (cut > 0 && (static_cast<unsigned char>(shown[cut]) & 0xC0) == 0x80)
                --cut;
            shown = shown.substr(0, cut);
        }
        return '"' + std::string(shown) + (m_length > shown.size() ? "...\"" : "\"");
    }

private:
    std::string_view Kept() const { return {m_text, std::min(m_length, kShort)}; }

    char m_text[kShort];      // the start of the text, held in place: no allocation a value
    std::string m_long;       // the whole text, once longer than kShort (up to kLongest)
    std::size_t m_length = 0; // of the whole text
};

} // namespace classxml::stream_detail
