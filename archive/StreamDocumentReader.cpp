#include "archive/StreamDocumentReader.h"

#include "XMLClassReaderWriter/ValueText.h"
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
    if (wide.size() == utf8.size()) {
        std::size_t i = 0;
        while (i < utf8.size() && static_cast<unsigned char>(utf8[i]) < 0x80 &&
               wide[i] == WideChar(utf8[i]))
            ++i;
        if (i == utf8.size()) return true;
        if (static_cast<unsigned char>(utf8[i]) < 0x80) return false;
    }
    return Utf8Of(wide) == utf8;
}

std::string Quoted(CBasicStringView<WideChar> text) {
    constexpr std::size_t kShown = 40;
    return '"' + Utf8Of(text.substr(0, kShown)) + (text.size() > kShown ? "...\"" : "\"");
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
    if (!opened || m_reader->Next() != Event::StartElement) {
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
    frame.hasKeyType = false;
    frame.keyType.clear();
    frame.varKeyType.clear();
    frame.varType.clear();
    for (std::size_t i = 0, count = m_reader->AttributeCount(); i < count; ++i) {
        const CBasicStringView<WideChar> attribute = m_reader->AttributeName(i);
        if (attribute == CBasicStringView<WideChar>(WIDE("keytype"))) {
            frame.keyType.assign(m_reader->AttributeValue(i));
            frame.hasKeyType = true;
        } else if (attribute == CBasicStringView<WideChar>(WIDE("varkeytype"))) {
            frame.varKeyType.assign(m_reader->AttributeValue(i));
        } else if (attribute == CBasicStringView<WideChar>(WIDE("vartype"))) {
            frame.varType.assign(m_reader->AttributeValue(i));
        }
    }
    frame.index = index;
    frame.ended = false;
    m_pending = false;
    if (index)
        m_path.Enter(frame.name, index); // an item is named by its element
    else
        m_path.Enter(name);
}

// Steps onto the next child element of the innermost open element; false at its end.
bool StreamDocumentReader::NextChild() {
    if (Failed()) return false;
    if (m_pending) return true;
    Frame& top = m_frames[m_open - 1];
    if (top.ended) return false;
    for (;;) {
        switch (m_reader->Next()) {
        case Event::StartElement:
            return m_pending = true;
        case Event::Text:
            continue;
        case Event::EndElement:
            top.ended = true;
            return false;
        default:
            return Stopped();
        }
    }
}

// Steps over the child the reader stands on.
bool StreamDocumentReader::SkipChild() {
    m_pending = false;
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
    Frame& top = m_frames[m_open - 1];
    while (!Failed() && !top.ended) {
        if (m_pending) {
            SkipChild();
            continue;
        }
        switch (m_reader->Next()) {
        case Event::StartElement:
            SkipChild();
            break;
        case Event::Text:
            break;
        case Event::EndElement:
            top.ended = true;
            break;
        default:
            Stopped();
        }
    }
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
    const Frame& top = m_frames[m_open - 1];
    const bool map = kind == "map";
    if (SameText(top.keyType, kind) && SameText(top.varKeyType, itemType) &&
        (!map || SameText(top.varType, valueType)))
        return true;
    const auto describe = [map](std::string_view k, std::string_view i, std::string_view v) {
        return std::string(k) + " of " + std::string(i) + (map ? " to " + std::string(v) : "");
    };
    return Fail(describe(kind, itemType, valueType),
                describe(Utf8Of(top.keyType), Utf8Of(top.varKeyType),
                         map ? Utf8Of(top.varType) : std::string()));
}

// The text of the innermost open element, read to its end tag, once its keytype (when it has
// one) is `type`. Like the handle's content, it is the element's own character data.
const Wide* StreamDocumentReader::Content(std::string_view type) {
    if (Failed()) return nullptr;
    Frame& top = m_frames[m_open - 1];
    if (top.hasKeyType && !SameText(top.keyType, type)) {
        Fail(std::string(type), "keytype " + Utf8Of(top.keyType));
        return nullptr;
    }
    m_text.clear();
    while (!top.ended) {
        switch (m_reader->Next()) {
        case Event::Text:
            m_text += m_reader->Text();
            break;
        case Event::StartElement:
            m_pending = true;
            if (!SkipChild()) return nullptr;
            break;
        case Event::EndElement:
            top.ended = true;
            break;
        default:
            Stopped();
            return nullptr;
        }
    }
    return &m_text;
}

template <class Value>
bool StreamDocumentReader::ReadValue(std::string_view type, Value& value) {
    const Wide* text = Content(type);
    if (!text) return false;
    const auto parsed = value_text::Codec<Value>::ParseExact(*text);
    if (!parsed) return Fail(std::string(type), Quoted(*text));
    value = *parsed;
    return true;
}

// clang-format off
bool StreamDocumentReader::Read(std::string_view type, std::int32_t& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, std::int64_t& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, std::uint32_t& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, std::uint64_t& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, bool& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, double& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, DB_ID& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, DB_GROUP_ID& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, DB_USER_ID& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, DB_TIME_TYPE& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, DB_UTC_TIME_TYPE& value) { return ReadValue(type, value); }
bool StreamDocumentReader::Read(std::string_view type, DB_VERSIONNUMBER& value) { return ReadValue(type, value); }
// clang-format on

// Text exactly as the document holds it.
bool StreamDocumentReader::Read(std::string_view type, std::string& value) {
    const Wide* text = Content(type);
    if (!text) return false;
    value = Utf8Of(*text);
    return true;
}

bool StreamDocumentReader::Read(std::string_view type, std::u16string& value) {
    const Wide* text = Content(type);
    if (!text) return false;
    value.assign(text->begin(), text->end());
    return true;
}

bool StreamDocumentReader::Fail(std::string expected, std::string found, std::string_view leaf) {
    if (Failed()) return false;
    m_result.ok = false;
    m_result.path = m_path.Text(leaf);
    m_result.expected = std::move(expected);
    m_result.found = std::move(found);
    return false;
}

void StreamDocumentReader::Finish() {
    while (m_open > 0)
        Leave();
    if (!Failed() && m_reader->Next() != Event::End) Stopped();
    m_result.diagnostics = LastDiagnostics();
}

Result StreamDocumentReader::TakeResult() { return std::move(m_result); }

} // namespace classxml::archive_detail
