#include "classxml/archive/engines/DomWriter.h"

#include <xercesc/dom/DOMException.hpp>

#include "classxml/archive/detail/Indented.h"
#include "classxml/archive/detail/SaveFailure.h"
#include "classxml/archive/detail/StartOnFirstUse.h"
#include "classxml/archive/detail/Transport.h"
#include "classxml/archive/detail/WideText.h"
#include "classxml/platform/FileReplace.h"
#include "classxml/platform/Utf.h"
#include "classxml/valuetext/Base64.h"

namespace classxml::archive_detail {

using Handle = CXMLClassReaderWriter;
using View = Handle::View;

DomWriter::DomWriter(Destination destination, std::string_view rootName, const SaveOptions& options)
    : m_destination(destination), m_rootName(rootName), m_indented(options.indented),
      m_root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true) {
    StartEngineOnFirstUse();
    const DocumentType& doctype = options.doctype;
    const WideText root(rootName), publicId(doctype.publicId), systemId(doctype.systemId);
    m_path.Enter(m_rootName);
    if (!m_root.CreateDocument(root.view(), publicId.view(), systemId.view())) {
        Refuse({},
               "a document with root element \"" + std::string(rootName) + '"' +
                   (doctype.publicId.empty() && doctype.systemId.empty() ? "" : " and DOCTYPE"),
               "the engine refusing it");
        return;
    }
    m_open.push_back(m_root);
}

DomWriter::~DomWriter() { m_root.ReleaseDocument(); }

void DomWriter::Open(Handle element, std::string_view name, std::size_t index) {
    m_path.Enter(name, index);
    if (!element.IsDefined()) Refuse({}, "a name and text XML can carry", "one it cannot");
    m_open.push_back(std::move(element));
}

void DomWriter::BeginClass(std::string_view elementName, std::string_view variableName,
                           std::size_t index, Attribute attribute, Attribute second) {
    if (!m_result) return Open(m_root, elementName, index); // keeps Begin and End paired
    const WideText element(elementName), variable(variableName);
    Handle made = Made(elementName,
                       [&] { return m_open.back().CreateClass(element.view(), variable.view()); });
    bool attributed = true;
    for (const Attribute& added : {attribute, second})
        attributed = attributed && (added.first.empty() || !made.IsDefined() ||
                                    made.AddAttributeValue(WideText(added.first).view(),
                                                           WideText(added.second).view()));
    Open(made, variableName.empty() ? elementName : variableName, index);
    if (!attributed) Refuse({}, "a name and text XML can carry", "one it cannot");
}

void DomWriter::WriteBytes(std::string_view name, std::size_t index,
                           std::span<const std::byte> bytes) {
    BeginClass(kTransport, name, index);
    if (m_result) {
        std::string base64;
        value_text::AppendBase64(bytes, base64);
        const WideText content(kContent), text(base64), size(std::to_string(bytes.size())),
            type(kBase64), sizeName(kSize);
        if (!Made(kContent, [&] {
                 return m_open.back().AddElementAttributesContent(
                     content.view(),
                     {{WIDE("keytype"), type.view()}, {sizeName.view(), size.view()}}, text.view());
             }).IsDefined())
            Refuse(kContent, "base64 text the document takes", "a refusal");
    }
    End();
}

void DomWriter::BeginSequence(std::string_view name, std::string_view kind,
                              std::string_view itemType, std::size_t index) {
    if (!m_result) return Open(m_root, name, index);
    const WideText element(name), item(itemType);
    Handle& parent = m_open.back();
    Open(Made(name,
              [&] {
                  return kind == "list"  ? parent.AddLISTProperty(element.view(), item.view())
                         : kind == "set" ? parent.AddSETProperty(element.view(), item.view())
                                         : parent.AddVECTORProperty(element.view(), item.view());
              }),
         name, index);
}

void DomWriter::BeginMap(std::string_view name, std::string_view keyType,
                         std::string_view valueType, std::size_t index) {
    if (!m_result) return Open(m_root, name, index);
    const WideText element(name), key(keyType), value(valueType);
    Open(Made(name,
              [&] {
                  return m_open.back().AddMAPProperty(element.view(), key.view(), value.view());
              }),
         name, index);
}

// The DOM raises an exception for a name it rejects; the archive reports it as a failure.
template <class Make>
Handle DomWriter::Made(std::string_view name, Make make) {
    try {
        return make();
    } catch (const xercesc::DOMException&) {
        Refuse({}, "an element name XML allows", '"' + std::string(name) + '"');
        return m_root;
    }
}

void DomWriter::End() {
    m_open.pop_back();
    m_path.Leave();
}

template <class Writer>
void DomWriter::Put(std::string_view name, std::string_view type, Writer add) {
    if (!m_result) return;
    const WideText element(name), typeText(type);
    if (!Made(name, [&] {
             return add(m_open.back(), element.view(), typeText.view());
         }).IsDefined())
        Refuse(name, "text XML can carry", "a character it cannot");
}

namespace {

// The handle's writer of each number family.
Handle Add(Handle& h, View n, View t, std::int32_t v) { return h.AddintProperty(n, t, v); }
Handle Add(Handle& h, View n, View t, std::int64_t v) { return h.Add__int64Property(n, t, v); }
Handle Add(Handle& h, View n, View t, std::uint32_t v) { return h.AddUINTProperty(n, t, v); }
Handle Add(Handle& h, View n, View t, std::uint64_t v) { return h.AddDWORD64Property(n, t, v); }
Handle Add(Handle& h, View n, View t, bool v) { return h.AddboolProperty(n, t, v); }
Handle Add(Handle& h, View n, View t, double v) { return h.AdddoubleProperty(n, t, v); }
Handle Add(Handle& h, View n, View t, DB_ID v) { return h.AddDB_IDProperty(n, t, v); }
// Group and user ids have no writer of their own; they are 64-bit numbers like DB_ID.
Handle Add(Handle& h, View n, View t, DB_GROUP_ID v) { return Add(h, n, t, DB_ID(v.get())); }
Handle Add(Handle& h, View n, View t, DB_USER_ID v) { return Add(h, n, t, DB_ID(v.get())); }
Handle Add(Handle& h, View, View, std::monostate) { return h; }
Handle Add(Handle& h, View n, View t, DB_TIME_TYPE v) { return h.AddDB_TIME_TYPEProperty(n, t, v); }
Handle Add(Handle& h, View n, View t, DB_UTC_TIME_TYPE v) {
    return h.AddDB_UTC_TIME_TYPEProperty(n, t, v);
}
Handle Add(Handle& h, View n, View t, DB_VERSIONNUMBER v) {
    return h.AddDB_VERSIONNUMBERProperty(n, t, v);
}

} // namespace

void DomWriter::PutNumber(std::string_view name, std::string_view type, const Number& value) {
    Put(name, type, [&](Handle& h, View n, View t) {
        return std::visit([&](auto number) { return Add(h, n, t, number); }, value);
    });
}

void DomWriter::PutText(std::string_view name, std::string_view type,
                        CBasicStringView<WideChar> text, bool enumerator) {
    Put(name, type, [&](Handle& h, View n, View t) {
        return enumerator ? h.AddENUMProperty(n, t, text) : h.AddAlpTStringProperty(n, t, text);
    });
}

// A file saved compact is the handle's own save; a string, or an indented file (laid out from
// the handle's UTF-8 text), goes through Text and replaces the file in one step as the
// handle's save does.
Result DomWriter::Finish() {
    if (!m_result) return m_result;
    const std::string_view path = m_destination.path;
    if (!m_destination.text && !m_indented) {
        // The handle answers true for a folder that does not exist, having written nothing.
        if (FolderMissing(path) || !m_root.SaveToFile(platform::Utf8ToUtf16(path)))
            Refuse({}, {}, CannotSave(path, 0));
    } else if (std::optional<std::string> text = Text(); !text) {
        Refuse({},
               "the document saved to " +
                   (m_destination.text ? std::string("a string") : '"' + std::string(path) + '"'),
               "the save failing");
    } else if (m_destination.text) {
        *m_destination.text = std::move(*text);
    } else {
        platform::FileReplacement file(platform::Utf8ToUtf16(path));
        if (file.Kind() == platform::WriteTarget::Kind::MissingFolder || !file.IsOpen() ||
            !file.Write(text->data(), text->size()) || !file.Commit())
            Refuse({}, {}, CannotSave(path, file.Error()));
    }
    m_result.diagnostics = LastDiagnostics();
    return m_result;
}

// The document as UTF-8 text, indented when asked for.
std::optional<std::string> DomWriter::Text() {
    char8_t* buffer = nullptr;
    unsigned long long length = 0;
    std::optional<std::string> text;
    if (m_root.SaveToString(&buffer, length, true)) {
        const std::string_view compact(reinterpret_cast<const char*>(buffer), std::size_t(length));
        text = m_indented ? Indented(compact) : std::string(compact);
    }
    Handle::FreeMemory(&buffer);
    return text;
}

} // namespace classxml::archive_detail
