#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "classxml/platform/Export.h"

// Bytes as base64 text (RFC 4648, with padding, no line breaks), the form binary members take
// in a document's FileTransport elements.
namespace classxml::value_text {

// Appends the base64 text of `bytes`; a piece of a longer run must hold a multiple of 3 bytes,
// so that no padding falls in its middle.
CLASSXML_API void AppendBase64(std::span<const std::byte> bytes, std::string& text);

// Decodes base64 text given piece by piece, passing over white space (a text broken into lines
// reads the same). Anything else outside the alphabet, padding before the end, and a text that
// ends in the middle of a group are refused.
class CLASSXML_API Base64Decoder {
public:
    explicit Base64Decoder(std::vector<std::byte>& bytes) : m_bytes(bytes) {}
    // Appends the bytes of `piece` to the vector; false once the text is found malformed.
    bool Take(std::string_view piece);
    // Whether the text ended at the end of a group.
    bool Finish() const { return m_valid && m_held == 0; }

private:
    std::vector<std::byte>& m_bytes;
    std::uint32_t m_group = 0; // the sextets of the group being read
    int m_held = 0;            // how many it holds
    int m_padding = 0;         // '=' seen: only more '=' and white space may follow
    bool m_valid = true;
};

} // namespace classxml::value_text
