#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/archive/LoadOptions.h"
#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/engines/ArchiveReader.h"

namespace classxml::archive_detail {

// Walks one parsed document through the handle. Members are found by name among the children
// of the element at the top (a class member by its element and `varname`), items in document
// order; values are converted strictly. The first failure is kept with the member's path, and
// every later call answers false.
class CLASSXML_API DomReader : public ArchiveReader {
public:
    static constexpr Engine kEngine = Engine::Dom;

    DomReader();
    ~DomReader() override;
    DomReader(const DomReader&) = delete;
    DomReader& operator=(const DomReader&) = delete;

    // Parses, a file validated as ReadFromFile validates; then stands on the root element,
    // which must be named `rootName`.
    bool LoadFile(std::string_view path, std::string_view rootName,
                  const LoadOptions& options = {});
    bool LoadString(std::string_view utf8, std::string_view rootName,
                    const LoadOptions& options = {});

    bool HasMember(std::string_view name);
    bool HasClassMember(std::string_view elementName, std::string_view variableName);
    bool EnterMember(std::string_view name);
    bool EnterClassMember(std::string_view elementName, std::string_view variableName);
    // Steps onto the first item of the container at the top, or from the item at the top to
    // the next one; false, back on the container, when there is none.
    bool FirstItem();
    bool NextItem();
    void Leave();

    // The element at the top is a container of `kind` ("vector", ..., "map") with these types.
    bool IsContainer(std::string_view kind, std::string_view itemType,
                     std::string_view valueType = {});
    // The element at the top is the class element `elementName`.
    bool IsClass(std::string_view elementName);
    // The element at the top: its name, and an attribute (nothing when it has none of that name).
    std::string ElementName();
    std::optional<std::string> Attribute(std::string_view name);

    // For reading objects one at a time: steps onto the next child of the root element named
    // `elementName`, skipping others; false at the root's end or on failure.
    bool NextObject(std::string_view elementName, std::size_t index);

    // The whole document was read and accepted when it was loaded: nothing is left to do but
    // leave the elements still entered.
    void Finish() {
        if (m_frames.size() > 1) m_frames.erase(m_frames.begin() + 1, m_frames.end());
    }

private:
    struct Frame {
        CXMLClassReaderWriter element;
        std::size_t index = 0;                          // an item's place in its container, from 1
        std::optional<CXMLClassReaderWriter> lastFound; // the class member found last
    };
    bool Parsed(bool parsed, std::string_view rootName);
    CXMLClassReaderWriter FindClassMember(std::string_view elementName,
                                          std::string_view variableName);
    void Push(CXMLClassReaderWriter element, std::size_t index, std::string_view name = {});
    bool TextOf(std::string_view type, TextPieces& pieces) override;

    CXMLClassReaderWriter m_root;
    std::string m_rootName;                            // the path's first step
    std::optional<CXMLClassReaderWriter> m_lastObject; // NextObject's, to go on from
    std::vector<Frame> m_frames;
    CBasicString<WideChar> m_written; // a content as it was written
};

} // namespace classxml::archive_detail
