#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classxml/BasicString.h"
#include "classxml/DatabaseTypes.h"
#include "classxml/archive/Result.h"
#include "classxml/archive/detail/MemberPath.h"
#include "classxml/platform/Export.h"
#include "classxml/stream/StreamReader.h"
#include "classxml/valuetext/Families.h"

namespace classxml::archive_detail {

// What the readers of both engines share: every value type read strictly through its one text
// conversion, strings exactly as they were written, and the first failure kept with the
// member's path, after which every call answers false. A reader gives the text of the element
// it stands on.
class CLASSXML_API ArchiveReader {
public:
    virtual ~ArchiveReader();

#define CLASSXML_READ(Type, Text) bool Read(std::string_view type, Type& value);
    CLASSXML_VALUE_FAMILIES(CLASSXML_READ)
#undef CLASSXML_READ
    // Text exactly as it was written, carriage returns and line feeds as they were.
    bool Read(std::string_view type, std::string& value);
    bool Read(std::string_view type, std::u16string& value);

    // Records a failure at the top (or at its member `leaf`): false.
    bool Fail(std::string expected, std::string found, std::string_view leaf = {});
    // The path of the element at the top; a failure recorded at a path taken so before.
    std::string Where() const;
    bool FailAt(std::string path, std::string expected, std::string found);
    // Records that the container at the top is not of `kind` with these item (and value) types,
    // as asked, but as found: false.
    bool WrongContainer(std::string_view kind, std::string_view itemType,
                        std::string_view valueType, std::string_view foundKind,
                        std::string_view foundItem, std::string_view foundValue);
    // The version a class element's `text` gives (0 when it has none), at most `programVersion`
    // of class `className` unless the load takes newer versions; false, and recorded, when it is
    // malformed or newer.
    bool ClassVersion(const std::optional<std::string>& text, std::uint32_t programVersion,
                      std::string_view className, std::uint32_t& version);
    // A binary member's bytes (Bytes.h) from the fileContent element the reader stands on: its
    // base64 text, or the side file named in its place, looked up in the loaded document's
    // folder. `sizeText` is the element's varsize. False, and recorded, when the text is not
    // base64, the side file cannot be read, or the bytes are not as many as it says.
    bool ReadBytes(const std::optional<std::string>& sizeText, std::vector<std::byte>& bytes);
    // Records that the file at `path` could not be opened, for the system's reason `error`.
    bool Unopened(std::string_view path, int error);
    bool Failed() const { return !m_result; }
    Result TakeResult() { return std::move(m_result); }

protected:
    // Hands the text of the element the reader stands on, exactly as the application wrote it,
    // to `pieces`, once its keytype (when it has one) is `type`; false after a failure, which
    // the reader has recorded.
    virtual bool TextOf(std::string_view type, TextPieces& pieces) = 0;

    MemberPath m_path;
    Result m_result;
    bool m_newerVersions = false; // LoadOptions::newerVersions
    // The loaded document: its folder (UTF-8, empty for a string), where side files are read,
    // and its size in bytes (0 when unknown), which bounds what a binary member reserves.
    void Loading(std::string_view path, std::uint64_t size);
    static std::uint64_t FileSize(std::string_view path);
    std::string m_folder;
    std::uint64_t m_inputSize = 0;

private:
    template <class Value>
    bool ReadValue(std::string_view type, Value& value);
    template <class Collector, class Text>
    bool ReadText(std::string_view type, Text& text);
};

} // namespace classxml::archive_detail
