#include "classxml/archive/engines/StreamEngineReader.h"

#include <algorithm>

#include "classxml/archive/detail/StartOnFirstUse.h"
#include "classxml/platform/SameBytes.h"
#include "classxml/platform/Utf.h"
#include "classxml/stream/StreamReader.h"
#include "classxml/xmlio/ParseLimits.h"
#include "classxml/xmlio/ReadSettings.h"

namespace classxml::archive_detail {
namespace {

using Event = StreamReader::Event;

constexpr std::string_view kVarName = "varname";
constexpr std::string_view kKeyType = "keytype";

} // namespace

// The parser refuses documents deeper than kMaxDepth, so the frames are made once and never
// move: the member path keeps views of their names.
StreamEngineReader::StreamEngineReader() : m_reader(std::make_unique<StreamReader>()) {
    StartEngineOnFirstUse();
    m_frames.reserve(parse_limits::kMaxDepth + 2);
}

StreamEngineReader::~StreamEngineReader() = default;

// The settings are taken when the reading starts: the DTD directory and whether complaints go to
// standard error too hold for the whole document.
bool StreamEngineReader::LoadFile(std::string_view path, std::string_view rootName,
                                  const LoadOptions& options) {
    m_newerVersions = options.newerVersions;
    Loading(path, FileSize(path));
    const read_settings::Scope settings(DtdDirectoryFor(path, options), !options.standardError);
    const bool opened = m_reader->OpenFile(platform::Utf8ToUtf16(path));
    if (m_reader->OpenError() != 0) {
        m_rootName = rootName;
        m_path.Enter(m_rootName);
        return Unopened(path, m_reader->OpenError());
    }
    return Started(opened, rootName);
}

bool StreamEngineReader::LoadString(std::string_view utf8, std::string_view rootName,
                                    const LoadOptions& options) {
    m_newerVersions = options.newerVersions;
    Loading({}, utf8.size());
    const read_settings::Scope settings(DtdDirectoryFor({}, options), !options.standardError);
    return Started(m_reader->OpenString(utf8), rootName);
}

bool StreamEngineReader::Started(bool opened, std::string_view rootName) {
    m_rootName = rootName;
    if (!opened || Advance() != Event::StartElement) {
        m_path.Enter(m_rootName);
        return Stopped();
    }
    m_childName = m_reader->NameUtf8();
    Enter(m_rootName, 0);
    return rootName.empty() || IsClass(rootName);
}

// The document ended, or failed, before the archive was done with it.
bool StreamEngineReader::Stopped() {
    m_result.diagnostics = LastDiagnostics();
    if (m_path.Empty()) m_path.Enter(m_rootName); // past the root's end: the document's fault
    return Fail("a well-formed, valid document", "one that is not");
}

// Enters the live child the reader stands on.
void StreamEngineReader::Enter(std::string_view name, std::size_t index) {
    if (m_openFrames == m_frames.size()) m_frames.emplace_back();
    Frame& frame = m_frames[m_openFrames++];
    if (!platform::SameBytes(frame.name, m_childName))
        frame.name = m_childName; // items mostly share a name
    frame.index = index;
    frame.live = true;
    frame.ended = false;
    frame.held = frame.cursor = 0;
    frame.aside = m_held.size();
    m_pending = false;
    m_onStartTag = true;
    if (index)
        m_path.Enter(frame.name, index); // an item is named by its element
    else
        m_path.Enter(name);
}

// Enters an element held before.
void StreamEngineReader::Replay(std::size_t held, std::string_view name, std::size_t index) {
    if (m_openFrames == m_frames.size()) m_frames.emplace_back();
    Frame& frame = m_frames[m_openFrames++];
    m_held[held].taken = true;
    frame.name = m_held[held].name;
    frame.index = index;
    frame.live = false;
    frame.ended = true;
    frame.held = frame.cursor = held;
    frame.aside = 0;
    if (index)
        m_path.Enter(frame.name, index);
    else
        m_path.Enter(name);
}

// The reader's next event, which leaves the start tag it stood on.
StreamReader::Event StreamEngineReader::Advance() {
    m_onStartTag = false;
    return m_reader->Next();
}

// An attribute of an open element. A live element's attributes stay in the reader only while
// it stands on their start tag, and the archive asks for them before it reads on.
std::optional<std::string_view> StreamEngineReader::AttributeOf(const Frame& frame,
                                                                std::string_view name) const {
    if (frame.live) return m_onStartTag ? m_reader->AttributeUtf8(name) : std::nullopt;
    for (const auto& [attribute, value] : m_held[frame.held].attributes)
        if (attribute == name) return std::string_view(value);
    return std::nullopt;
}

// Steps onto the next child element of the innermost open element, a live one; false at its end.
bool StreamEngineReader::NextChild() {
    if (Failed()) return false;
    if (m_pending) return true;
    Frame& top = m_frames[m_openFrames - 1];
    if (top.ended) return false;
    m_onStartTag = false;
    switch (m_reader->NextTag()) {
    case Event::StartElement:
        m_childName = m_reader->NameUtf8();
        return m_pending = true;
    case Event::EndElement:
        top.ended = true;
        return false;
    default:
        return Stopped();
    }
}

// Steps over the child the reader stands on.
bool StreamEngineReader::SkipChild() {
    m_pending = false;
    m_onStartTag = false;
    return m_reader->Skip() || Stopped();
}

// Holds the child the reader stands on, with all it holds, for a later ask.
bool StreamEngineReader::Hold() {
    std::vector<std::size_t> open; // the held elements not yet ended
    const auto start = [&] {
        Held& held = m_held.emplace_back();
        held.name = m_reader->NameUtf8();
        for (std::size_t i = 0; i < m_reader->AttributeCount(); ++i)
            held.attributes.emplace_back(m_reader->AttributeNameUtf8(i),
                                         m_reader->AttributeValueUtf8(i));
        m_heldBytes += sizeof(Held) + held.name.size();
        for (const auto& [name, value] : held.attributes)
            m_heldBytes += name.size() + value.size();
        open.push_back(m_held.size() - 1);
    };
    m_pending = false;
    start();
    while (!open.empty()) {
        if (m_heldBytes > kMostHeld)
            return Fail("members within " + std::to_string(kMostHeld >> 20) +
                            " MiB of elements passed over to find them",
                        "more before them");
        switch (Advance()) {
        case Event::StartElement:
            start();
            break;
        case Event::Text:
            m_held[open.back()].text += m_reader->TextUtf8();
            m_heldBytes += m_reader->TextUtf8().size();
            break;
        case Event::EndElement:
            m_held[open.back()].end = m_held.size();
            open.pop_back();
            break;
        default:
            return Stopped();
        }
    }
    return true;
}

bool StreamEngineReader::Matches(std::string_view name, std::optional<std::string_view> variable,
                                 std::string_view elementName, std::string_view variableName,
                                 bool byVariable) const {
    if (name != elementName) return false;
    if (!byVariable) return true;
    return variable ? *variable == variableName : variableName.empty();
}

// The child of the innermost open element that is the member asked for: among what it holds,
// or further on in the document, holding what stands before it.
StreamEngineReader::Found StreamEngineReader::Find(std::string_view elementName,
                                                   std::string_view variableName, bool byVariable) {
    if (Failed()) return {};
    const Frame& top = m_frames[m_openFrames - 1];
    const std::size_t first = top.live ? top.aside : top.held + 1;
    const std::size_t end = top.live ? m_held.size() : m_held[top.held].end;
    for (std::size_t i = first; i < end; i = m_held[i].end) {
        const Held& held = m_held[i];
        std::optional<std::string_view> variable;
        for (const auto& [attribute, value] : held.attributes)
            if (attribute == kVarName) variable = value;
        if (!held.taken && Matches(held.name, variable, elementName, variableName, byVariable))
            return {Found::Where::Held, i};
    }
    if (!top.live) return {};
    while (NextChild()) {
        if (platform::SameBytes(m_childName, elementName) &&
            (!byVariable || Matches(m_childName, m_reader->AttributeUtf8(kVarName), elementName,
                                    variableName, true)))
            return {Found::Where::Next, 0};
        if (!Hold()) return {};
    }
    return {};
}

bool StreamEngineReader::EnterFound(const Found& found, std::string_view name) {
    if (found.where == Found::Where::Held)
        Replay(found.held, name, 0);
    else
        Enter(name, 0);
    return true;
}

bool StreamEngineReader::HasMember(std::string_view name) {
    return Find(name, {}, false).where != Found::Where::Nowhere;
}

bool StreamEngineReader::HasClassMember(std::string_view elementName,
                                        std::string_view variableName) {
    return Find(elementName, variableName, true).where != Found::Where::Nowhere;
}

bool StreamEngineReader::EnterMember(std::string_view name) {
    const Found found = Find(name, {}, false);
    if (found.where == Found::Where::Nowhere) return !Failed() && Fail("a member", "none", name);
    return EnterFound(found, name);
}

bool StreamEngineReader::EnterClassMember(std::string_view elementName,
                                          std::string_view variableName) {
    const Found found = Find(elementName, variableName, true);
    if (found.where == Found::Where::Nowhere)
        return !Failed() &&
               Fail("a class element " + std::string(elementName), "none", variableName);
    return EnterFound(found, variableName);
}

bool StreamEngineReader::NextObject(std::string_view elementName, std::size_t index) {
    while (NextChild()) {
        if (platform::SameBytes(m_childName, elementName)) return Enter({}, index), true;
        if (!SkipChild()) return false;
    }
    return false;
}

// Items stand in document order: the next child, live or held.
bool StreamEngineReader::FirstItem() {
    if (Failed()) return false;
    Frame& top = m_frames[m_openFrames - 1];
    if (top.live) {
        if (!NextChild()) return false;
        Enter({}, 1);
        return true;
    }
    const std::size_t first = top.held + 1;
    if (first >= m_held[top.held].end) return false;
    top.cursor = first;
    Replay(first, {}, 1);
    return true;
}

bool StreamEngineReader::NextItem() {
    if (Failed()) return false;
    const std::size_t index = m_frames[m_openFrames - 1].index + 1;
    Leave();
    Frame& top = m_frames[m_openFrames - 1];
    if (top.live) {
        if (!NextChild()) return false;
        Enter({}, index);
        return true;
    }
    const std::size_t next = m_held[top.cursor].end;
    if (next >= m_held[top.held].end) return false;
    top.cursor = next;
    Replay(next, {}, index);
    return true;
}

// A live element is read on to its end, past what the archive did not ask for, and what it
// held goes.
void StreamEngineReader::Leave() {
    if (m_openFrames == 0) return;
    const Frame& top = m_frames[m_openFrames - 1];
    if (top.live) {
        if (!top.ended)
            while (NextChild())
                SkipChild();
        m_pending = false;
        for (std::size_t i = top.aside; i < m_held.size(); ++i) {
            const Held& held = m_held[i];
            m_heldBytes -= sizeof(Held) + held.name.size() + held.text.size();
            for (const auto& [name, value] : held.attributes)
                m_heldBytes -= name.size() + value.size();
        }
        if (top.aside < m_held.size()) m_held.resize(top.aside);
    }
    --m_openFrames;
    m_path.Leave();
}

bool StreamEngineReader::IsClass(std::string_view elementName) {
    if (Failed()) return false;
    const Frame& top = m_frames[m_openFrames - 1];
    if (top.name == elementName) return true;
    return Fail("class element " + std::string(elementName), "element " + top.name);
}

std::string StreamEngineReader::ElementName() {
    return Failed() ? std::string() : m_frames[m_openFrames - 1].name;
}

std::optional<std::string> StreamEngineReader::Attribute(std::string_view name) {
    if (Failed()) return std::nullopt;
    const auto value = AttributeOf(m_frames[m_openFrames - 1], name);
    return value ? std::optional<std::string>(*value) : std::nullopt;
}

bool StreamEngineReader::IsContainer(std::string_view kind, std::string_view itemType,
                                     std::string_view valueType) {
    if (Failed()) return false;
    const Frame& top = m_frames[m_openFrames - 1];
    const bool map = kind == "map";
    const auto text = [&](std::string_view name) {
        return AttributeOf(top, name).value_or(std::string_view());
    };
    const std::string_view foundKind = text(kKeyType), foundItem = text("varkeytype"),
                           foundValue = map ? text("vartype") : std::string_view();
    if (foundKind == kind && foundItem == itemType && (!map || foundValue == valueType))
        return true;
    return WrongContainer(kind, itemType, valueType, foundKind, foundItem, foundValue);
}

// The text of the innermost open element, once its keytype (when it has one) is `type`. Like
// the handle's content, it is the element's own character data; a live element is read to its
// end tag.
bool StreamEngineReader::TextOf(std::string_view type, TextPieces& pieces) {
    if (Failed()) return false;
    Frame& top = m_frames[m_openFrames - 1];
    if (const auto keyType = AttributeOf(top, kKeyType);
        keyType && !platform::SameBytes(*keyType, type))
        return Fail(std::string(type), "keytype " + std::string(*keyType));
    if (!top.live) {
        pieces.TakeUtf8(m_held[top.held].text);
        return true;
    }
    if (!m_onStartTag || !m_reader->ReadText(pieces)) return Stopped();
    m_onStartTag = false;
    top.ended = true;
    return true;
}

void StreamEngineReader::Finish() {
    while (m_openFrames > 0)
        Leave();
    if (!Failed() && Advance() != Event::End) Stopped();
    m_result.diagnostics = LastDiagnostics();
}

} // namespace classxml::archive_detail
