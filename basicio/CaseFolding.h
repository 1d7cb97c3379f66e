#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "classxml/BasicFile.h"
#include "classxml/BasicString.h"
#include "classxml/platform/CodePage.h"

namespace classxml::basicio {

// Narrow text lower-cased character by character with the simple 16-bit mapping, in its own
// encoding, for searches without case. In UTF-8 a character's lower case can take more or fewer
// bytes than the character (the Kelvin sign, three bytes, becomes "k"), so the places where the
// lengths part are kept, and a place in the folded text can be taken back to the original.
class FoldedText {
public:
    explicit FoldedText(platform::NarrowEncoding encoding);

    // Folds `text`, which ends where a character ends.
    void Assign(CBasicStringView<char> text);
    CBasicStringView<char> View() const { return m_text; }
    // The place in the original text of a place where a character starts in the folded one.
    std::size_t OriginalOffset(std::size_t folded) const;

    // A folded match is at most this many times as long in the original.
    static constexpr std::size_t kMaxGrowth = 3;

private:
    void AssignUtf8(CBasicStringView<char> text);

    // From `folded` on, a folded place is `original - folded` further on in the original.
    struct Shift {
        std::size_t folded;
        std::size_t original;
    };

    bool m_utf8;
    const std::array<unsigned char, 256>& m_bytes;
    CBasicString<char> m_text;
    std::vector<Shift> m_shifts;
};

// Searches of a narrow file without case: both the text and the file are folded as above. The
// first place at or after `start` where `text` begins, the last at or before it (a negative
// start: from the end), -1 when there is none; and whether it begins at `position`.
std::int64_t FindFolded(CBasicFile<char>& file, CBasicStringView<char> text, std::int64_t start);
std::int64_t FindFoldedReverse(CBasicFile<char>& file, CBasicStringView<char> text,
                               std::int64_t start);
bool StartsFolded(CBasicFile<char>& file, std::int64_t position, CBasicStringView<char> text);

} // namespace classxml::basicio
