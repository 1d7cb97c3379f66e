#include "classxml/archive/engines/StreamEngineWriter.h"

#include "classxml/archive/detail/SaveFailure.h"
#include "classxml/archive/detail/StartOnFirstUse.h"
#include "classxml/archive/detail/Transport.h"
#include "classxml/archive/detail/WideText.h"
#include "classxml/platform/Utf.h"
#include "classxml/stream/StreamWriter.h"
#include "classxml/valuetext/Base64.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::archive_detail {

StreamEngineWriter::StreamEngineWriter(Destination destination, std::string_view rootName,
                                       const SaveOptions& options)
    : m_text(destination.text), m_rootName(rootName) {
    const DocumentType& doctype = options.doctype;
    StartEngineOnFirstUse();
    if (m_text) { // written aside, so that a failed save leaves the caller's string as it was
        m_out = std::make_unique<StreamWriter>(m_written);
        m_destinationText = "a string";
    } else {
        m_out = std::make_unique<StreamWriter>(platform::Utf8ToUtf16(destination.path),
                                               StreamWriter::Encoding::Utf8);
        m_destinationText = '"' + std::string(destination.path) + '"';
    }
    m_path.Enter(m_rootName);
    if (options.indented) m_out->Indent();
    const WideText root(rootName), publicId(doctype.publicId), systemId(doctype.systemId);
    if (m_out->StartDocument(root.view(), publicId.view(), systemId.view())) return;
    m_folderMissing = !m_text && FolderMissing(destination.path);
    if (m_folderMissing)
        Refuse({}, {}, CannotSave(destination.path, 0));
    else
        Refuse({},
               "a document with root element \"" + std::string(rootName) + '"' +
                   (doctype.publicId.empty() && doctype.systemId.empty() ? "" : " and DOCTYPE") +
                   " written to " + m_destinationText,
               m_out->Failed() ? "the output failing" : "the engine refusing it");
}

StreamEngineWriter::~StreamEngineWriter() = default;

// A name the writer refuses is reported as the DOM engine reports it, before the element.
bool StreamEngineWriter::NameAllowed(std::string_view name, const WideText& element) {
    if (xml_text::IsName(element.view())) return true;
    Refuse({}, "an element name XML allows", '"' + std::string(name) + '"');
    return false;
}

void StreamEngineWriter::Opened(bool opened, std::string_view name, std::size_t index) {
    m_path.Enter(name, index);
    if (!opened) Refuse({}, "a name and text XML can carry", "one it cannot");
}

void StreamEngineWriter::BeginClass(std::string_view elementName, std::string_view variableName,
                                    std::size_t index, Attribute attribute, Attribute second) {
    const std::string_view name = variableName.empty() ? elementName : variableName;
    if (!m_result) return m_path.Enter(name, index); // keeps Begin and End paired
    const WideText element(elementName), variable(variableName);
    if (!NameAllowed(elementName, element)) return m_path.Enter(name, index);
    if (attribute.first.empty() && second.first.empty())
        return Opened(m_out->BeginClass(element.view(), variable.view()), name, index);
    const WideText names[] = {WideText(attribute.first), WideText(second.first)};
    const WideText values[] = {WideText(attribute.second), WideText(second.second)};
    std::pair<CBasicStringView<WideChar>, CBasicStringView<WideChar>> attributes[3];
    std::size_t count = 0;
    if (!variableName.empty()) attributes[count++] = {WIDE("varname"), variable.view()};
    for (std::size_t at = 0; at < 2; ++at)
        if (!names[at].view().empty()) attributes[count++] = {names[at].view(), values[at].view()};
    Opened(m_out->BeginElement(element.view(), std::span(attributes, count)), name, index);
}

void StreamEngineWriter::BeginSequence(std::string_view name, std::string_view kind,
                                       std::string_view itemType, std::size_t index) {
    if (!m_result) return m_path.Enter(name, index);
    const WideText element(name), item(itemType);
    if (!NameAllowed(name, element)) return m_path.Enter(name, index);
    const bool opened = kind == "list"  ? m_out->BeginList(element.view(), item.view())
                        : kind == "set" ? m_out->BeginSet(element.view(), item.view())
                                        : m_out->BeginVector(element.view(), item.view());
    Opened(opened, name, index);
}

void StreamEngineWriter::BeginMap(std::string_view name, std::string_view keyType,
                                  std::string_view valueType, std::size_t index) {
    if (!m_result) return m_path.Enter(name, index);
    const WideText element(name), key(keyType), value(valueType);
    if (!NameAllowed(name, element)) return m_path.Enter(name, index);
    Opened(m_out->BeginMap(element.view(), key.view(), value.view()), name, index);
}

void StreamEngineWriter::End() {
    if (m_result) m_out->End();
    m_path.Leave();
}

void StreamEngineWriter::WriteBytes(std::string_view name, std::size_t index,
                                    std::span<const std::byte> bytes) {
    BeginClass(kTransport, name, index);
    if (m_result) {
        const WideText content(kContent), type(kBase64), sizeName(kSize),
            size(std::to_string(bytes.size()));
        bool written = m_out->BeginElement(
            content.view(), {{WIDE("keytype"), type.view()}, {sizeName.view(), size.view()}});
        constexpr std::size_t kPiece = 3 << 16; // bytes a piece: whole groups of three
        std::string base64;
        CBasicString<WideChar> text;
        for (std::size_t at = 0; written && at < bytes.size(); at += kPiece) {
            base64.clear();
            value_text::AppendBase64(bytes.subspan(at, std::min(kPiece, bytes.size() - at)),
                                     base64);
            text.assign(base64.begin(), base64.end());
            written = m_out->WriteCharacters(text);
        }
        if (!(written && m_out->End()))
            Refuse(kContent, "base64 text the document takes", "a refusal");
    }
    End();
}

template <class Value>
void StreamEngineWriter::Put(std::string_view name, std::string_view type, Value value) {
    if (!m_result) return;
    const WideText element(name), typeText(type);
    if (!NameAllowed(name, element)) return;
    bool written = false;
    if constexpr (std::is_same_v<Value, CBasicStringView<WideChar>>)
        written = m_out->WriteText(element.view(), typeText.view(), value);
    else
        written = m_out->Write(element.view(), typeText.view(), value);
    if (!written) Refuse(name, "text XML can carry", "a character it cannot");
}

void StreamEngineWriter::PutNumber(std::string_view name, std::string_view type,
                                   const Number& value) {
    std::visit(
        [&]<class Family>(Family number) {
            if constexpr (value_text::Family<Family>) Put(name, type, number);
        },
        value);
}

void StreamEngineWriter::PutText(std::string_view name, std::string_view type,
                                 CBasicStringView<WideChar> text, bool) {
    Put(name, type, text);
}

Result StreamEngineWriter::Finish() {
    if (m_result && !m_out->Finish())
        Refuse({}, "the document written to " + m_destinationText, "the output failing");
    if (m_result && m_text) m_text->swap(m_written);
    if (!m_folderMissing) m_result.diagnostics = LastDiagnostics();
    return m_result;
}

} // namespace classxml::archive_detail
