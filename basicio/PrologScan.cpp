// CVFile: simple scans of an XML file's opening. They read characters and never parse.
#include "classxml/basicio/TextSearch.h"
#include "classxml/basicio/VFile.h"

using classxml::basicio::IsBlank;

namespace {

bool IsNameCharacter(WideChar unit) {
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') ||
           (unit >= '0' && unit <= '9') || unit == '_' || unit == ':' || unit == '-' ||
           unit == '.' || unit >= 0x80;
}

const boost::shared_ptr<LocalizationManager> kNoLocalization;

} // namespace

FILE_CHAR_POS CVFile::GetXMLVersion(CBasicString<WideChar>& version) {
    version.clear();
    std::int64_t start = SkipBlankPositions(FILE_CHAR_POS(0), false).get();
    if (CharAt(start) == 0xFEFF) start = SkipBlankPositions(FILE_CHAR_POS(start + 1), false).get();
    if (!IsStringAtPosition(FILE_CHAR_POS(start), true, WIDE("<?xml"), kNoLocalization))
        return FILE_CHAR_POS(-1);
    const std::int64_t close =
        FindStringPositionInFile(View(WIDE("?>")), kNoLocalization, true, FILE_CHAR_POS(start))
            .get();
    const std::int64_t name =
        FindStringPositionInFile(View(WIDE("version")), kNoLocalization, true, FILE_CHAR_POS(start))
            .get();
    if (name < 0 || (close >= 0 && name > close)) return FILE_CHAR_POS(-1);
    std::int64_t position = SkipBlankPositions(FILE_CHAR_POS(name + 7), false).get();
    if (CharAt(position) != '=') return FILE_CHAR_POS(-1);
    position = SkipBlankPositions(FILE_CHAR_POS(position + 1), false).get();
    const WideChar quote = CharAt(position);
    if (quote != '"' && quote != '\'') return FILE_CHAR_POS(-1);
    const std::int64_t value = position + 1;
    for (position = value; CharAt(position) != quote; ++position) {
        if (CharAt(position) == 0) return version.clear(), FILE_CHAR_POS(-1);
        version.push_back(CharAt(position));
    }
    return FILE_CHAR_POS(value);
}

FILE_CHAR_POS CVFile::GetDocType(CBasicString<WideChar>& name) {
    name.clear();
    const std::int64_t doctype =
        FindStringPositionInFile(View(WIDE("<!DOCTYPE")), kNoLocalization, true, FILE_CHAR_POS(0))
            .get();
    if (doctype < 0) return FILE_CHAR_POS(-1);
    const std::int64_t start = SkipBlankPositions(FILE_CHAR_POS(doctype + 9), false).get();
    for (std::int64_t position = start;; ++position) {
        const WideChar unit = CharAt(position);
        if (unit == 0 || IsBlank(unit) || unit == '[' || unit == '>') break;
        name.push_back(unit);
    }
    return name.empty() ? FILE_CHAR_POS(-1) : FILE_CHAR_POS(start);
}

FILE_CHAR_POS CVFile::GetFirstInstanceElementNameStartAt(FILE_CHAR_POS start,
                                                         CBasicString<WideChar>& name) {
    name.clear();
    for (std::int64_t open =
             FindStringPositionInFile(View(WIDE("<")), kNoLocalization, true, start).get();
         open >= 0; open = FindStringPositionInFile(View(WIDE("<")), kNoLocalization, true,
                                                    FILE_CHAR_POS(open + 1))
                               .get()) {
        if (IsStringAtPosition(FILE_CHAR_POS(open), true, WIDE("<!--"), kNoLocalization)) {
            const std::int64_t close = FindStringPositionInFile(View(WIDE("-->")), kNoLocalization,
                                                                true, FILE_CHAR_POS(open + 4))
                                           .get();
            if (close < 0) return FILE_CHAR_POS(-1);
            open = close;
            continue;
        }
        const WideChar next = CharAt(open + 1);
        if (next == '?' || next == '!' || next == '/' || !IsNameCharacter(next)) continue;
        for (std::int64_t position = open + 1; IsNameCharacter(CharAt(position)); ++position)
            name.push_back(CharAt(position));
        return FILE_CHAR_POS(open);
    }
    return FILE_CHAR_POS(-1);
}

FILE_CHAR_POS CVFile::GetRootElement(CBasicString<WideChar>& name) {
    return GetFirstInstanceElementNameStartAt(FILE_CHAR_POS(0), name);
}

FILE_CHAR_POS CVFile::GetFirstInstanceElementName(CBasicString<WideChar>& name) {
    const FILE_CHAR_POS root = GetRootElement(name);
    if (root.get() < 0) return root;
    return GetFirstInstanceElementNameStartAt(FILE_CHAR_POS(root.get() + 1), name);
}

FILE_CHAR_POS CVFile::FindToken(FILE_CHAR_POS start, TokenFlags flags,
                                CBasicString<WideChar>& token) {
    token.clear();
    const std::int64_t position = SkipBlankPositions(start, false).get();
    const WideChar first = CharAt(position);
    if (first == 0) return FILE_CHAR_POS(-1);
    if (IsNameCharacter(first)) {
        if (!flags.Has(BasicStringDef::token_name)) return FILE_CHAR_POS(-1);
        for (std::int64_t at = position; IsNameCharacter(CharAt(at)); ++at)
            token.push_back(CharAt(at));
        return FILE_CHAR_POS(position);
    }
    if (first == '"' || first == '\'') {
        if (!flags.Has(BasicStringDef::token_quoted)) return FILE_CHAR_POS(-1);
        for (std::int64_t at = position + 1; CharAt(at) != first; ++at) {
            if (CharAt(at) == 0) return token.clear(), FILE_CHAR_POS(-1);
            token.push_back(CharAt(at));
        }
        return FILE_CHAR_POS(position);
    }
    if (!flags.Has(BasicStringDef::token_punctuation)) return FILE_CHAR_POS(-1);
    token.push_back(first);
    return FILE_CHAR_POS(position);
}

FILE_CHAR_POS CVFile::FindStringBetween(View open, View close, FILE_CHAR_POS start,
                                        CBasicString<WideChar>& between) {
    between.clear();
    const std::int64_t opening = FindStringPositionInFile(open, kNoLocalization, true, start).get();
    if (opening < 0) return FILE_CHAR_POS(-1);
    const auto inside = FILE_CHAR_POS(opening + std::int64_t(open.size()));
    const std::int64_t closing =
        FindStringPositionInFile(close, kNoLocalization, true, inside).get();
    if (closing < 0) return FILE_CHAR_POS(-1);
    CBasicString<WideChar> text;
    GetStringFromFile(text, inside, FILE_CHAR_POS(closing));
    between = std::move(text);
    return inside;
}
