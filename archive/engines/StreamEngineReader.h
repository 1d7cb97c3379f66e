#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "classxml/BasicString.h"
#include "classxml/DatabaseTypes.h"
#include "classxml/archive/LoadOptions.h"
#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/engines/ArchiveReader.h"
#include "classxml/platform/Export.h"
#include "classxml/stream/StreamReader.h"

namespace classxml::archive_detail {

// The archive's reader on the stream engine: the same calls as DomReader, answered as the
// document streams past, and the same answers. Members are found by name in any order: a
// member that is not the next element is looked for further on, and the elements passed on the
// way are held until their class element ends, in case they are asked for (up to 64 MiB of
// them). So a document whose members stand in serialize order, as the archive writes them,
// holds nothing. Values are converted strictly, as DomReader converts them. A load is
// accepted only once the rest of the document has been read and found well-formed and valid
// (Finish).
class CLASSXML_API StreamEngineReader : public ArchiveReader {
public:
    static constexpr Engine kEngine = Engine::Stream;
    // How much of the elements passed over while looking for members may be held.
    static constexpr std::size_t kMostHeld = std::size_t(64) << 20;

    StreamEngineReader();
    ~StreamEngineReader() override;
    StreamEngineReader(const StreamEngineReader&) = delete;
    StreamEngineReader& operator=(const StreamEngineReader&) = delete;

    // Starts reading, a file validated as ReadFromFile validates; stands on the root element,
    // which must be named `rootName` (any name when it is empty).
    bool LoadFile(std::string_view path, std::string_view rootName,
                  const LoadOptions& options = {});
    bool LoadString(std::string_view utf8, std::string_view rootName,
                    const LoadOptions& options = {});

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
    std::string ElementName();
    std::optional<std::string> Attribute(std::string_view name);

    // Reads the rest of the document; a document that turns out malformed or invalid fails
    // the load.
    void Finish();

    // For reading objects one at a time: steps onto the next child of the root element named
    // `elementName`, skipping others; false at the root's end or on failure.
    bool NextObject(std::string_view elementName, std::size_t index);

private:
    // An element held for later, with its attributes and its own text, in UTF-8; its
    // descendants follow it, up to `end`.
    struct Held {
        std::string name;
        std::vector<std::pair<std::string, std::string>> attributes;
        std::string text;
        std::size_t end = 0;
        bool taken = false; // entered already
    };

    // An open element: read live from the document, or replayed from what was held.
    struct Frame {
        std::string name;      // kept here: the reader's view of it lasts one event
        std::size_t index = 0; // an item's place in its container, from 1
        bool live = true;
        bool ended = false;     // live: its end tag has been read
        std::size_t held = 0;   // replayed: its place in m_held
        std::size_t cursor = 0; // replayed: its child last stepped onto, for items
        std::size_t aside = 0;  // live: where the children it passed over begin in m_held
    };
    // What looking for a member found.
    struct Found {
        enum class Where { Nowhere, Held, Next } where = Where::Nowhere;
        std::size_t held = 0;
    };

    bool Started(bool opened, std::string_view rootName);
    StreamReader::Event Advance();
    bool NextChild();
    bool SkipChild();
    bool Hold();
    Found Find(std::string_view elementName, std::string_view variableName, bool byVariable);
    bool EnterFound(const Found& found, std::string_view name);
    bool Matches(std::string_view name, std::optional<std::string_view> variable,
                 std::string_view elementName, std::string_view variableName,
                 bool byVariable) const;
    std::optional<std::string_view> AttributeOf(const Frame& frame, std::string_view name) const;
    void Enter(std::string_view name, std::size_t index);
    void Replay(std::size_t held, std::string_view name, std::size_t index);
    bool Stopped();
    bool TextOf(std::string_view type, TextPieces& pieces) override;

    std::unique_ptr<StreamReader> m_reader;
    std::vector<Frame> m_frames;  // the open elements; frames are reused, not freed
    std::size_t m_openFrames = 0; // how many of m_frames are open
    bool m_pending = false;       // the reader stands on the start tag of a child not entered
    std::string_view m_childName; // that child's name, the reader's while it stands there
    bool m_onStartTag = false;    // the reader stands on the start tag of the innermost element
    // Elements passed over, for their class elements' later asks. Elements are held only while
    // the innermost open element is live, when no replayed frame (whose name is a view into
    // this) is open, so that it may grow as a vector.
    std::vector<Held> m_held;
    std::size_t m_heldBytes = 0;
    std::string m_rootName; // the path's first step
};

} // namespace classxml::archive_detail
