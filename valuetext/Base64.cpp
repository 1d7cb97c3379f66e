#include "classxml/valuetext/Base64.h"

#include <array>

namespace classxml::value_text {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Each character's sextet; kSpace for white space, kOther for anything else.
constexpr std::uint8_t kSpace = 64, kPad = 65, kOther = 66;
constexpr std::array<std::uint8_t, 256> kSextets = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(kOther);
    for (std::uint8_t i = 0; i < 64; ++i)
        table[std::uint8_t(kAlphabet[i])] = i;
    for (const char space : {' ', '\t', '\r', '\n'})
        table[std::uint8_t(space)] = kSpace;
    table['='] = kPad;
    return table;
}();

} // namespace

void AppendBase64(std::span<const std::byte> bytes, std::string& text) {
    const std::size_t whole = bytes.size() / 3 * 3;
    std::size_t at = text.size();
    text.resize(at + (bytes.size() + 2) / 3 * 4);
    char* out = text.data() + at;
    const auto byte = [&](std::size_t i) { return std::uint32_t(bytes[i]); };
    for (std::size_t i = 0; i < whole; i += 3) {
        const std::uint32_t group = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
        *out++ = kAlphabet[group >> 18];
        *out++ = kAlphabet[group >> 12 & 63];
        *out++ = kAlphabet[group >> 6 & 63];
        *out++ = kAlphabet[group & 63];
    }
    if (const std::size_t rest = bytes.size() - whole; rest > 0) {
        const std::uint32_t group = byte(whole) << 16 | (rest == 2 ? byte(whole + 1) << 8 : 0);
        *out++ = kAlphabet[group >> 18];
        *out++ = kAlphabet[group >> 12 & 63];
        *out++ = rest == 2 ? kAlphabet[group >> 6 & 63] : '=';
        *out++ = '=';
    }
}

bool Base64Decoder::Take(std::string_view piece) {
    // Bytes gather in a buffer of whole groups and join the vector a buffer at a time.
    std::byte out[3 * 1024];
    std::size_t held = 0;
    const auto flush = [&] {
        m_bytes.insert(m_bytes.end(), out, out + held);
        held = 0;
    };
    for (const char c : piece) {
        if (!m_valid) break;
        const std::uint8_t sextet = kSextets[std::uint8_t(c)];
        if (sextet == kSpace) continue;
        if (sextet == kPad) {
            // "xx==" or "xxx=": padding completes a group of two or three characters.
            m_valid = m_held >= 2 && m_held + m_padding < 4;
            ++m_padding;
            if (m_valid && m_held + m_padding == 4) {
                if (m_held == 2) out[held++] = std::byte(m_group >> 4);
                if (m_held == 3) {
                    out[held++] = std::byte(m_group >> 10);
                    out[held++] = std::byte(m_group >> 2);
                }
                m_held = 0;
            }
            continue;
        }
        if (sextet == kOther || m_padding > 0) {
            m_valid = false;
            break;
        }
        m_group = m_group << 6 | sextet;
        if (++m_held == 4) {
            out[held++] = std::byte(m_group >> 16);
            out[held++] = std::byte(m_group >> 8);
            out[held++] = std::byte(m_group);
            m_held = 0;
            m_group = 0;
            if (held == sizeof out) flush();
        }
    }
    flush();
    return m_valid;
}

} // namespace classxml::value_text
