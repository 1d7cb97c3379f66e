#include "classxml/archive/engines/DomReader.h"

#include "classxml/archive/detail/StartOnFirstUse.h"
#include "classxml/archive/detail/WideText.h"
#include "classxml/platform/Utf.h"
#include "classxml/xmlio/DocumentInput.h"
#include "classxml/xmlio/ReadSettings.h"

namespace classxml::archive_detail {
namespace {

using Handle = CXMLClassReaderWriter;
using Wide = CBasicString<WideChar>;

} // namespace

DomReader::DomReader() : m_root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true) {
    StartEngineOnFirstUse();
}

DomReader::~DomReader() { m_root.ReleaseDocument(); }

bool DomReader::LoadFile(std::string_view path, std::string_view rootName,
                         const LoadOptions& options) {
    m_rootName = rootName;
    m_path.Enter(m_rootName);
    const Wide file = platform::Utf8ToUtf16(path);
    document_input::SetLastOpenError(0);
    m_newerVersions = options.newerVersions;
    Loading(path, FileSize(path));
    const read_settings::Scope settings(DtdDirectoryFor(path, options), !options.standardError);
    const bool parsed = m_root.ReadFromFile(file);
    if (!parsed && document_input::LastOpenError() != 0)
        return Unopened(path, document_input::LastOpenError());
    return Parsed(parsed, rootName);
}

bool DomReader::LoadString(std::string_view utf8, std::string_view rootName,
                           const LoadOptions& options) {
    m_rootName = rootName;
    m_path.Enter(m_rootName);
    m_newerVersions = options.newerVersions;
    Loading({}, utf8.size());
    const read_settings::Scope settings(DtdDirectoryFor({}, options), !options.standardError);
    return Parsed(m_root.ReadFromString(CBasicStringView<char>(utf8.data(), utf8.size())),
                  rootName);
}

bool DomReader::Parsed(bool parsed, std::string_view rootName) {
    m_result.diagnostics = LastDiagnostics();
    if (!parsed) return Fail("a well-formed, valid document", "one that is not");
    m_frames.push_back({m_root, 0, std::nullopt});
    return IsClass(rootName);
}

bool DomReader::IsClass(std::string_view elementName) {
    if (Failed()) return false;
    const std::string found = Utf8Of(m_frames.back().element.GetElementName());
    if (found == elementName) return true;
    return Fail("class element " + std::string(elementName), "element " + found);
}

std::string DomReader::ElementName() {
    return Failed() ? std::string() : Utf8Of(m_frames.back().element.GetElementName());
}

std::optional<std::string> DomReader::Attribute(std::string_view name) {
    if (Failed()) return std::nullopt;
    Handle& element = m_frames.back().element;
    const WideText wide(name);
    if (!element.HasAttribute(wide.view())) return std::nullopt;
    return Utf8Of(element.GetAttributeValue(wide.view()));
}

bool DomReader::NextObject(std::string_view elementName, std::size_t index) {
    if (Failed()) return false;
    const WideText name(elementName);
    Handle next = m_lastObject ? m_lastObject->GetNextElement(name.view())
                               : m_root.GetFirstSubElement(name.view());
    if (!next.IsDefined()) return false;
    m_lastObject = next;
    Push(std::move(next), index);
    return true;
}

// An item is named in a path by its element's name.
void DomReader::Push(Handle element, std::size_t index, std::string_view name) {
    if (index)
        m_path.Enter(element.GetElementName(), index);
    else
        m_path.Enter(name);
    m_frames.push_back({std::move(element), index, std::nullopt});
}

bool DomReader::HasMember(std::string_view name) {
    return !Failed() &&
           m_frames.back().element.GetFirstSubElement(WideText(name).view()).IsDefined();
}

bool DomReader::HasClassMember(std::string_view elementName, std::string_view variableName) {
    return !Failed() && FindClassMember(elementName, variableName).IsDefined();
}

bool DomReader::EnterMember(std::string_view name) {
    if (Failed()) return false;
    Handle member = m_frames.back().element.GetFirstSubElement(WideText(name).view());
    if (!member.IsDefined()) return Fail("a member", "none", name);
    Push(std::move(member), 0, name);
    return true;
}

// Members asked for in the order they stand are found next to the one found before: so that
// the many deferred objects of a deep structure are found in time in proportion to their number.
Handle DomReader::FindClassMember(std::string_view elementName, std::string_view variableName) {
    const WideText element(elementName), variable(variableName);
    Frame& frame = m_frames.back();
    if (frame.lastFound) { // asked about before it is entered, or the one after it
        if (frame.lastFound->IsVariableName(variable.view()) &&
            frame.lastFound->GetElementName() == element.view())
            return *frame.lastFound;
        Handle next = frame.lastFound->GetNextElement(element.view());
        if (next.IsDefined() && next.IsVariableName(variable.view()))
            return *(frame.lastFound = next);
    }
    Handle member = frame.element.GetFirstSubElement(element.view());
    while (member.IsDefined() && !member.IsVariableName(variable.view()))
        member = member.GetNextElement(element.view());
    if (member.IsDefined()) frame.lastFound = member;
    return member;
}

bool DomReader::EnterClassMember(std::string_view elementName, std::string_view variableName) {
    if (Failed()) return false;
    Handle member = FindClassMember(elementName, variableName);
    if (!member.IsDefined())
        return Fail("a class element " + std::string(elementName), "none", variableName);
    Push(std::move(member), 0, variableName);
    return true;
}

bool DomReader::FirstItem() {
    if (Failed()) return false;
    Handle first = m_frames.back().element.GetFirstSubElement();
    if (!first.IsDefined()) return false;
    Push(std::move(first), 1);
    return true;
}

bool DomReader::NextItem() {
    if (Failed()) return false;
    Handle next = m_frames.back().element.GetNextElement();
    const std::size_t index = m_frames.back().index + 1;
    Leave();
    if (!next.IsDefined()) return false;
    Push(std::move(next), index);
    return true;
}

void DomReader::Leave() {
    m_frames.pop_back();
    m_path.Leave();
}

bool DomReader::IsContainer(std::string_view kind, std::string_view itemType,
                            std::string_view valueType) {
    if (Failed()) return false;
    Handle& element = m_frames.back().element;
    const auto attribute = [&](Handle::View name) {
        return element.HasAttribute(name) ? Utf8Of(element.GetAttributeValue(name)) : std::string();
    };
    const bool map = kind == "map";
    const std::string foundKind = attribute(Handle::KEY_TYPE);
    const std::string foundItem = attribute(Handle::VARKEY_TYPE);
    const std::string foundValue = map ? attribute(Handle::VAR_TYPE) : std::string();
    if (foundKind == kind && foundItem == itemType && foundValue == valueType) return true;
    return WrongContainer(kind, itemType, valueType, foundKind, foundItem, foundValue);
}

// GetContent writes each line feed of a text node as CR LF; the text as it was has one carriage
// return fewer before each line feed.
bool DomReader::TextOf(std::string_view type, TextPieces& pieces) {
    if (Failed()) return false;
    Handle& element = m_frames.back().element;
    if (element.HasAttribute(Handle::KEY_TYPE)) {
        const std::string found = Utf8Of(element.GetAttributeValue(Handle::KEY_TYPE));
        if (found != type) return Fail(std::string(type), "keytype " + found);
    }
    const Wide& content = element.GetContent();
    if (content.find(WideChar('\r')) == Wide::npos) {
        pieces.Take(content);
        return true;
    }
    m_written.clear();
    for (const WideChar unit : content) {
        if (unit == WideChar('\n') && !m_written.empty() && m_written.back() == WideChar('\r'))
            m_written.back() = unit;
        else
            m_written.push_back(unit);
    }
    pieces.Take(m_written);
    return true;
}

} // namespace classxml::archive_detail
