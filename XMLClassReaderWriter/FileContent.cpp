// A property element holding the text of a whole file.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

#include "classxml/basicio/VFile.h"

namespace {

// One read and one DOM text node hold at most this many characters.
constexpr std::int64_t kSliceCharacters = 10'000'000;

} // namespace

CXMLClassReaderWriter
CXMLClassReaderWriter::AddFileContentProperty(const CBasicString<WideChar>& name,
                                              const CBasicString<WideChar>& type,
                                              const CBasicString<WideChar>& filePath) {
    CVFile file;
    try {
        file.Open(filePath, CVFile::kReadExisting);
    } catch (const CBasicFileException&) {
        return ElementOrFailure(nullptr);
    }
    // The element is filled before it is attached, so that a file holding text no document can
    // carry adds nothing. A file error on the way attaches what was read so far.
    CXMLClassReaderWriter element = CreateElementAttributesContent(name, PropertyAttributes(type));
    CBasicString<WideChar> slice;
    try {
        for (std::int64_t from = 0;;) {
            // Slices end where a character begins, so that none is cut into two text nodes.
            std::int64_t to = file.AlignToCharacter(FILE_CHAR_POS(from + kSliceCharacters)).get();
            if (to <= from) to = from + kSliceCharacters;
            file.GetStringFromFile(slice, FILE_CHAR_POS(from), FILE_CHAR_POS(to));
            if (slice.empty()) break;
            if (element.IsDefined() && !element.InsertContent(slice))
                return ElementOrFailure(nullptr);
            from = to;
        }
    } catch (const CBasicFileException&) {
        InsertSubDocument(element);
        return ElementOrFailure(nullptr);
    }
    if (element.IsDefined() && !InsertSubDocument(element)) return ElementOrFailure(nullptr);
    return element;
}
