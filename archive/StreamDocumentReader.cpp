#include "archive/StreamDocumentReader.h"

#include <algorithm>

#include "archive/Engine.h"
#include "archive/WideText.h"
#include "platform/Utf.h"
#include "stream/StreamReader.h"

namespace classxml::archive_detail {
namespace {

using Wide = CBasicString<WideChar>;
using Event = StreamReader::Event;

// Names and type texts are nearly always ASCII, compared here without a conversion.
bool SameText(CBasicStringView<WideChar> wide, std::string_view utf8) {
    const std::size_t shorter = std::min(wide.size(), utf8.size());
    std::size_t i = 0;
    while (i < shorter && static_cast<unsigned char>(utf8[i]) < 0x80 &&
           wide[i] == WideChar(utf8[i]))
        ++i;
    if (i == shorter) return wide.size() == utf8.size();
    if (static_cast<unsigned char>(utf8[i]) < 0x80) return false; // an ASCII character differs
    return Utf8Of(wide.substr(i)) == utf8.substr(i);
}

} // namespace

StreamDocumentReader::StreamDocumentReader() : m_reader(std::make_unique<StreamReader>()) {
    EnsureEngine();
}

StreamDocumentReader::~StreamDocumentReader() = default;

bool StreamDocumentReader::LoadFile(std::string_view path, std::string_view rootName) {
    const bool opened = m_reader->OpenFile(
        platform::Utf8ToUtf16({reinterpret_cast<const char8_t*>(path.data()), path.size()}));
    return Started(opened, rootName);
}

bool StreamDocumentReader::LoadString(std::string_view utf8, std::string_view rootName) {
    const bool opened = m_reader->OpenString(
        CBasicStringView<char8_t>(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()));
    return Started(opened, rootName);
}

bool StreamDocumentReader::Started(bool opened, std::string_view rootName) {
    m_rootName = rootName;
    if (!opened || Advance() != Event::StartElement) {
        m_path.Enter(m_rootName);
        return Stopped();
    }
    Enter(m_rootName, 0);
    return rootName.empty() || IsClass(rootName);
}

// The document ended, or failed, before the archive was done with it.
bool StreamDocumentReader::Stopped() {
    m_result.diagnostics = LastDiagnostics();
    return Fail("a well-formed, valid document", "one that is not");
}

void StreamDocumentReader::Enter(std::string_view name, std::size_t index) {
    if (m_open == m_frames.size()) m_frames.emplace_back();
    Frame& frame = m_frames[m_open++];
    frame.name = m_reader->Name();
    frame.index = index;
    frame.ended = false;
    m_pending = false;
    m_onStartTag = true;
    if (index)
        m_path.Enter(frame.name, index); // an item is named by its element
    else
        m_path.Enter(name);
}

// The reader's next event, which leaves the start tag it stood on.
StreamReader::Event StreamDocumentReader::Advance() {
    m_onStartTag = false;
    return m_reader->Next();
}

// An attribute of the element just entered. Attributes stay in the reader only while it stands
// on their start tag, and the archive asks for them before it reads on.
std::optional<CBasicStringView<WideChar>>
StreamDocumentReader::Attribute(CBasicStringView<WideChar> name) const {
    return m_onStartTag ? m_reader->Attribute(name) : std::nullopt;
}

// Steps onto the next child element of the innermost open element; false at its end.
bool StreamDocumentReader::NextChild() {
    if (Failed()) return false;
    if (m_pending) return true;
    Frame& top = m_frames[m_open - 1];
    if (top.ended) return false;
    m_onStartTag = false;
    switch (m_reader->NextTag()) {
    case Event::StartElement:
        return m_pending = true;
    case Event::EndElement:
        top.ended = true;
        return false;
    default:
        return Stopped();
    }
}

// Steps over the child the reader stands on.
bool StreamDocumentReader::SkipChild() {
    m_pending = false;
    m_onStartTag = false;
    return m_reader->Skip() || Stopped();
}

bool StreamDocumentReader::Matches(std::string_view elementName,
                                   std::string_view variableName) const {
    if (!SameText(m_reader->Name(), elementName)) return false;
    const auto variable = m_reader->Attribute(WIDE("varname"));
    return variable ? SameText(*variable, variableName) : variableName.empty();
}

bool StreamDocumentReader::HasMember(std::string_view name) {
    return NextChild() && SameText(m_reader->Name(), name);
}

bool StreamDocumentReader::HasClassMember(std::string_view elementName,
                                          std::string_view variableName) {
    return NextChild() && Matches(elementName, variableName);
}

bool StreamDocumentReader::EnterMember(std::string_view name) {
    while (NextChild()) {
        if (SameText(m_reader->Name(), name)) return Enter(name, 0), true;
        if (!SkipChild()) return false;
    }
    return !Failed() && Fail("a member", "none", name);
}

bool StreamDocumentReader::EnterClassMember(std::string_view elementName,
                                            std::string_view variableName) {
    while (NextChild()) {
        if (Matches(elementName, variableName)) return Enter(variableName, 0), true;
        if (!SkipChild()) return false;
    }
    return !Failed() && Fail("a class element " + std::string(elementName), "none", variableName);
}

bool StreamDocumentReader::NextObject(std::string_view elementName, std::size_t index) {
    while (NextChild()) {
        if (SameText(m_reader->Name(), elementName)) return Enter({}, index), true;
        if (!SkipChild()) return false;
    }
    return false;
}

bool StreamDocumentReader::FirstItem() {
    if (!NextChild()) return false;
    Enter({}, 1);
    return true;
}

bool StreamDocumentReader::NextItem() {
    const std::size_t index = m_frames[m_open - 1].index + 1;
    Leave();
    if (!NextChild()) return false;
    Enter({}, index);
    return true;
}

// Reads on to the end of the innermost open element, past what the archive did not ask for.
void StreamDocumentReader::Leave() {
    if (m_open == 0) return;
    while (NextChild())
        SkipChild();
    m_pending = false;
    --m_open;
    m_path.Leave();
}

bool StreamDocumentReader::IsClass(std::string_view elementName) {
    if (Failed()) return false;
    const Frame& top = m_frames[m_open - 1];
    if (SameText(top.name, elementName)) return true;
    return Fail("class element " + std::string(elementName), "element " + Utf8Of(top.name));
}

bool StreamDocumentReader::IsContainer(std::string_view kind, std::string_view itemType,
                                       std::string_view valueType) {
    if (Failed()) return false;
    const bool map = kind == "map";
    const auto text = [&](CBasicStringView<WideChar> name) {
        return Attribute(name).value_or(CBasicStringView<WideChar>());
    };
    const auto foundKind = text(WIDE("keytype")), foundItem = text(WIDE("varkeytype")),
               foundValue = map ? text(WIDE("vartype")) : CBasicStringView<WideChar>();
    if (SameText(foundKind, kind) && SameText(foundItem, itemType) &&
        (!map || SameText(foundValue, valueType)))
        return true;
    const auto describe = [map](std::string_view k, std::string_view i, std::string_view v) {
        return std::string(k) + " of " + std::string(i) + (map ? " to " + std::string(v) : "");
    };
    return Fail(describe(kind, itemType, valueType),
                describe(Utf8Of(foundKind), Utf8Of(foundItem), Utf8Of(foundValue)));
}

// The text of the innermost open element, read to its end tag, once its keytype (when it has
// one) is `type`. Like the handle's content, it is the element's own character data.
bool StreamDocumentReader::TextOf(std::string_view type, TextPieces& pieces) {
    if (Failed()) return false;
    if (const auto keyType = Attribute(WIDE("keytype")); keyType && !SameText(*keyType, type))
        return Fail(std::string(type), "keytype " + Utf8Of(*keyType));
    if (!m_onStartTag || !m_reader->ReadText(pieces)) return Stopped();
    m_onStartTag = false;
    m_frames[m_open - 1].ended = true;
    return true;
}

void StreamDocumentReader::Finish() {
    while (m_open > 0)
        Leave();
    if (!Failed() && Advance() != Event::End) Stopped();
    m_result.diagnostics = LastDiagnostics();
}

} // namespace classxml::archive_detail
