#pragma once

#include <cstdint>

#include <boost/shared_ptr.hpp>

#include "classxml/basicio/VFile.h"

// What the pre-read extraction looks for in the text of a file, with CVFile's searches: a text
// at or after a place, and the start tags of elements. Nothing here parses XML.
namespace classxml::extraction {

using View = CBasicStringView<WideChar>;
using Localization = boost::shared_ptr<LocalizationManager>;

// The next place of a text at or after a position, for positions that never go back: a search
// goes on from the place last found, so that looking for a character that is rare in a file
// costs one pass over it, not one per element.
class NextPlace {
public:
    NextPlace(CVFile& file, const Localization& localization, View text)
        : m_file(file), m_localization(localization), m_text(text) {}

    // -1 when there is none.
    std::int64_t From(std::int64_t start) {
        if (m_found >= start || m_found == kNowhere) return m_found;
        m_found =
            m_file.FindStringPositionInFile(m_text, m_localization, true, FILE_CHAR_POS(start))
                .get();
        if (m_found < 0) m_found = kNowhere;
        return m_found;
    }

private:
    static constexpr std::int64_t kNotYet = -2;
    static constexpr std::int64_t kNowhere = -1;
    CVFile& m_file;
    const Localization& m_localization;
    View m_text;
    std::int64_t m_found = kNotYet;
};

// Start tags in the scanned file: whether "<fileContent" at a place is that element's name and
// not the start of a longer one, where the tag ends (a ">" inside a quoted attribute value does
// not end it), and whether it is an empty-element tag.
class StartTags {
public:
    StartTags(CVFile& file, const Localization& localization)
        : m_file(file), m_localization(localization), m_end(file, localization, WIDE(">")),
          m_double(file, localization, WIDE("\"")), m_single(file, localization, WIDE("'")) {}

    // The end of the file ends a name too: there, the tag is unfinished, not another one.
    bool NameEndsAt(std::int64_t position) {
        if (position >= std::int64_t(m_file.GetSizeInCharacters().get())) return true;
        for (const View follower :
             {WIDE(" "), WIDE("\t"), WIDE("\r"), WIDE("\n"), WIDE("/"), WIDE(">")})
            if (m_file.IsStringAtPosition(FILE_CHAR_POS(position), true, follower, m_localization))
                return true;
        return false;
    }

    // The first ">" at or after `start` outside quoted attribute values; -1 when there is none.
    std::int64_t EndFrom(std::int64_t position) {
        for (;;) {
            const std::int64_t end = m_end.From(position);
            if (end < 0) return -1;
            bool isDouble = false;
            const std::int64_t quote = FirstQuote(position, end, isDouble);
            if (quote < 0) return end;
            const std::int64_t closing = (isDouble ? m_double : m_single).From(quote + 1);
            if (closing < 0) return -1;
            position = closing + 1;
        }
    }

    bool IsEmpty(std::int64_t end) {
        return m_file.IsStringBeforePosition(FILE_CHAR_POS(end), WIDE("/"), m_localization);
    }

private:
    // A start tag longer than this is searched for quotes rather than looked at.
    static constexpr std::int64_t kShortTag = 1024;

    static std::int64_t Before(std::int64_t place, std::int64_t limit) {
        return place >= 0 && place < limit ? place : -1;
    }

    // The first quote in [from, to). A tag of the usual length is looked at character by
    // character: a search would run on past it through the base64 that follows to the next
    // quote, reading every block twice.
    std::int64_t FirstQuote(std::int64_t from, std::int64_t to, bool& isDouble) {
        if (to - from > kShortTag) {
            const std::int64_t doubleQuote = Before(m_double.From(from), to);
            const std::int64_t singleQuote = Before(m_single.From(from), to);
            isDouble = singleQuote < 0 || (doubleQuote >= 0 && doubleQuote < singleQuote);
            return isDouble ? doubleQuote : singleQuote;
        }
        for (std::int64_t position = from; position < to; ++position) {
            for (const bool doubleQuote : {true, false}) {
                if (m_file.IsStringAtPosition(FILE_CHAR_POS(position), true,
                                              doubleQuote ? WIDE("\"") : WIDE("'"),
                                              m_localization)) {
                    isDouble = doubleQuote;
                    return position;
                }
            }
        }
        return -1;
    }

    CVFile& m_file;
    const Localization& m_localization;
    NextPlace m_end;
    NextPlace m_double;
    NextPlace m_single;
};

} // namespace classxml::extraction
