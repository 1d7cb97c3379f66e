#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "BasicString.h"
#include "DatabaseTypes.h"
#include "archive/ValueReader.h"
#include "platform/Export.h"
#include "stream/StreamReader.h"

namespace classxml::archive_detail {

// The archive's reader on the stream engine: the same calls as DocumentReader, answered as the
// document streams past. Members are matched in document order: looking for a member skips the
// elements before it; an optional member is present only when it is the next element. Values
// are converted strictly, as DocumentReader converts them. A load is accepted only once the
// rest of the document has been read and found well-formed and valid (Finish).
class CLASSXML_API StreamDocumentReader : public ValueReader {
public:
    StreamDocumentReader();
    ~StreamDocumentReader() override;
    StreamDocumentReader(const StreamDocumentReader&) = delete;
    StreamDocumentReader& operator=(const StreamDocumentReader&) = delete;

    // Starts reading, a file validated as ReadFromFile validates; stands on the root element,
    // which must be named `rootName` (any name when it is empty).
    bool LoadFile(std::string_view path, std::string_view rootName);
    bool LoadString(std::string_view utf8, std::string_view rootName);

    bool HasMember(std::string_view name);
    bool HasClassMember(std::string_view elementName, std::string_view variableName);
    bool EnterMember(std::string_view name);
    bool EnterClassMember(std::string_view elementName, std::string_view variableName);
    bool FirstItem();
    bool NextItem();
    void Leave();

    bool IsContainer(std::string_view kind, std::string_view itemType,
                     std::string_view valueType = {});
    bool IsClass(std::string_view elementName);

    // Reads the rest of the document; a document that turns out malformed or invalid fails
    // the load.
    void Finish();

    // For reading objects one at a time: steps onto the next child of the root element named
    // `elementName`, skipping others; false at the root's end or on failure.
    bool NextObject(std::string_view elementName, std::size_t index);

private:
    // An open element.
    struct Frame {
        CBasicStringView<WideChar> name; // in the document's element declaration
        std::size_t index = 0;           // an item's place in its container, from 1
        bool ended = false;              // its end tag has been read
    };

    bool Started(bool opened, std::string_view rootName);
    StreamReader::Event Advance();
    bool NextChild();
    bool SkipChild();
    std::optional<CBasicStringView<WideChar>> Attribute(CBasicStringView<WideChar> name) const;
    bool Matches(std::string_view elementName, std::string_view variableName) const;
    void Enter(std::string_view name, std::size_t index);
    bool Stopped();
    bool TextOf(std::string_view type, TextPieces& pieces) override;

    std::unique_ptr<StreamReader> m_reader;
    std::vector<Frame> m_frames; // the open elements; frames are reused, not freed
    std::size_t m_open = 0;      // how many of m_frames are open
    bool m_pending = false;      // the reader stands on the start tag of a child not entered
    bool m_onStartTag = false;   // the reader stands on the start tag of the innermost element
    std::string m_rootName;      // the path's first step
};

} // namespace classxml::archive_detail
