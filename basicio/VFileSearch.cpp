// CVFile: searching for texts and testing what stands at a position.
#include "classxml/basicio/CaseFolding.h"
#include "classxml/basicio/VFile.h"
#include "classxml/basicio/VFileDetail.h"

using namespace classxml::basicio;

namespace {

// `text` (in the file's units) stands at `position`.
template <class Char>
bool Matches(CBasicFile<Char>& file, std::int64_t position, CBasicString<Char> text,
             bool caseSensitive) {
    if (position < 0) return false;
    if constexpr (sizeof(Char) == 1)
        if (!caseSensitive) return StartsFolded(file, position, text);
    CBasicString<Char> found;
    file.ReadChars(position, position + std::int64_t(text.size()), found);
    if (!caseSensitive) {
        LowerCase(found.data(), found.size());
        LowerCase(text.data(), text.size());
    }
    return found == text;
}

// The text's non-blank units match from `position` on, blanks in the file between them
// skipped; returns the position after the last one, or -1.
template <class Char>
std::int64_t MatchSkippingBlanks(CBasicFile<Char>& file, std::int64_t position,
                                 const CBasicString<Char>& visible, bool caseSensitive) {
    for (std::size_t i = 0; i < visible.size(); ++i) {
        Char unit{};
        if (i > 0) position = file.GetNextNonBlankPosition(position);
        if (!file.CharAt(position, unit)) return -1;
        Char wanted = visible[i];
        if (!caseSensitive) {
            LowerCase(&unit, 1);
            LowerCase(&wanted, 1);
        }
        if (unit != wanted) return -1;
        ++position;
    }
    return position;
}

template <class Char>
CBasicString<Char> WithoutBlanks(CBasicString<Char> text) {
    std::erase_if(text, [](Char unit) { return IsBlank(unit); });
    return text;
}

} // namespace

FILE_CHAR_POS CVFile::FindStringPositionInFile(CBasicStringView<char> text, const Localization&,
                                               bool caseSensitive, FILE_CHAR_POS start) {
    return WithFile(WIDE("FindStringPositionInFile"), [&](auto& file) {
        RequireValidRange(WIDE("FindStringPositionInFile"), start.get(), start.get());
        return FILE_CHAR_POS(file.Find(TextIn(file, text), caseSensitive, start.get()));
    });
}

FILE_CHAR_POS CVFile::FindStringPositionInFile(CBasicStringView<WideChar> text, const Localization&,
                                               bool caseSensitive, FILE_CHAR_POS start) {
    return WithFile(WIDE("FindStringPositionInFile"), [&](auto& file) {
        RequireValidRange(WIDE("FindStringPositionInFile"), start.get(), start.get());
        return FILE_CHAR_POS(file.Find(TextIn(file, text), caseSensitive, start.get()));
    });
}

FILE_CHAR_POS CVFile::FindStringPositionInFileReverse(CBasicStringView<char> text,
                                                      const Localization&, bool caseSensitive,
                                                      FILE_CHAR_POS start) {
    return WithFile(WIDE("FindStringPositionInFileReverse"), [&](auto& file) {
        return FILE_CHAR_POS(file.FindReverse(TextIn(file, text), caseSensitive, start.get()));
    });
}

FILE_CHAR_POS CVFile::FindStringPositionInFileReverse(CBasicStringView<WideChar> text,
                                                      const Localization&, bool caseSensitive,
                                                      FILE_CHAR_POS start) {
    return WithFile(WIDE("FindStringPositionInFileReverse"), [&](auto& file) {
        return FILE_CHAR_POS(file.FindReverse(TextIn(file, text), caseSensitive, start.get()));
    });
}

namespace {

// Tries the places of the first non-blank unit that `next` yields, from `candidate` on, and
// returns the first where the whole text matches with blanks skipped; -1 when none does.
template <class Char, class Next>
std::int64_t FirstMatchSkippingBlanks(CBasicFile<Char>& file, const CBasicString<Char>& visible,
                                      bool caseSensitive, std::int64_t candidate, Next next,
                                      FILE_CHAR_POS& end) {
    for (; candidate >= 0; candidate = next(candidate)) {
        const std::int64_t matchEnd = MatchSkippingBlanks(file, candidate, visible, caseSensitive);
        if (matchEnd >= 0) {
            end = FILE_CHAR_POS(matchEnd);
            return candidate;
        }
    }
    return -1;
}

} // namespace

FILE_CHAR_POS CVFile::FindStringPositionInFileIgnoreInvisibles(View text, FILE_CHAR_POS& end,
                                                               const Localization&,
                                                               bool caseSensitive,
                                                               FILE_CHAR_POS start) {
    return WithFile(WIDE("FindStringPositionInFileIgnoreInvisibles"), [&](auto& file) {
        RequireValidRange(WIDE("FindStringPositionInFileIgnoreInvisibles"), start.get(),
                          start.get());
        const auto visible = WithoutBlanks(TextIn(file, text));
        if (visible.empty()) {
            end = start;
            return start;
        }
        const auto first = visible.substr(0, 1);
        const auto next = [&](std::int64_t at) { return file.Find(first, caseSensitive, at + 1); };
        return FILE_CHAR_POS(FirstMatchSkippingBlanks(
            file, visible, caseSensitive, file.Find(first, caseSensitive, start.get()), next, end));
    });
}

FILE_CHAR_POS CVFile::FindStringPositionInFileIgnoreInvisiblesReverse(View text, FILE_CHAR_POS& end,
                                                                      const Localization&,
                                                                      bool caseSensitive,
                                                                      FILE_CHAR_POS start) {
    return WithFile(WIDE("FindStringPositionInFileIgnoreInvisiblesReverse"), [&](auto& file) {
        const auto visible = WithoutBlanks(TextIn(file, text));
        if (visible.empty()) return FILE_CHAR_POS(-1);
        const auto first = visible.substr(0, 1);
        const auto previous = [&](std::int64_t at) {
            return at == 0 ? -1 : file.FindReverse(first, caseSensitive, at - 1);
        };
        return FILE_CHAR_POS(FirstMatchSkippingBlanks(
            file, visible, caseSensitive, file.FindReverse(first, caseSensitive, start.get()),
            previous, end));
    });
}

bool CVFile::IsStringAtPosition(FILE_CHAR_POS position, bool caseSensitive, View text,
                                const Localization&) {
    return WithFile(WIDE("IsStringAtPosition"), [&](auto& file) {
        return Matches(file, position.get(), TextIn(file, text), caseSensitive);
    });
}

bool CVFile::IsStringBeforePosition(FILE_CHAR_POS position, View text, const Localization&) {
    return WithFile(WIDE("IsStringBeforePosition"), [&](auto& file) {
        const auto units = TextIn(file, text);
        return Matches(file, position.get() - std::int64_t(units.size()), units, true);
    });
}

bool CVFile::IsStringAfterPosition(FILE_CHAR_POS position, View text, const Localization&) {
    return WithFile(WIDE("IsStringAfterPosition"), [&](auto& file) {
        return Matches(file, position.get() + 1, TextIn(file, text), true);
    });
}

FILE_CHAR_POS CVFile::SkipBlankPositions(FILE_CHAR_POS position, bool backwards) {
    return WithFile(WIDE("SkipBlankPositions"), [&](auto& file) {
        return FILE_CHAR_POS(backwards ? file.GetPreviousNonBlankPosition(position.get())
                                       : file.GetNextNonBlankPosition(position.get()));
    });
}

WideChar CVFile::CharAt(std::int64_t position) const {
    return WithFile(WIDE("CharAt"), [&](auto& file) {
        typename std::decay_t<decltype(file)>::CharType unit{};
        if (!file.CharAt(position, unit)) return WideChar(0);
        return static_cast<WideChar>(static_cast<std::make_unsigned_t<decltype(unit)>>(unit));
    });
}
