// Class XML written element by element through Xerces' formatter, in the serialiser's form.
#include "classxml/stream/StreamWriter.h"

#include <functional>
#include <optional>
#include <span>
#include <type_traits>
#include <vector>

#include <xercesc/util/XMLException.hpp>

#include "classxml/platform/Utf.h"
#include "classxml/stream/Markup.h"
#include "classxml/valuetext/Families.h"
#include "classxml/valuetext/ValueText.h"
#include "classxml/xmlio/DiagnosticLog.h"
#include "classxml/xmlio/FileTarget.h"
#include "classxml/xmlio/ParseLimits.h"
#include "classxml/xmlio/StringTarget.h"
#include "classxml/xmlio/XercesIO.h"
#include "classxml/xmlio/XercesText.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml {
namespace {

using View = StreamWriter::View;
using stream_detail::Markup;
using value_text::Codec;
using xml_text::IsName;
using xml_text::IsXmlText;

constexpr View kKeyType = WIDE("keytype");
constexpr View kVarKeyType = WIDE("varkeytype");
constexpr View kVarType = WIDE("vartype");
constexpr View kVarName = WIDE("varname");

struct Attribute {
    View name;
    View value;
};
// An element has at most this many: the format's four and the archive's own.
constexpr std::size_t kMostAttributes = 8;

} // namespace

class StreamWriter::Impl {
public:
    // `file` is the target when it is a file; `discard` empties a string target whose document
    // will not be complete.
    Impl(bool typeCheck, const XMLCh* encoding, std::unique_ptr<xercesc::XMLFormatTarget> target,
         xerces_output::FileTarget* file, std::function<void()> discard)
        : m_typeCheck(typeCheck), m_encoding(encoding), m_target(std::move(target)), m_file(file),
          m_discard(std::move(discard)) {
        diagnostics::Begin();
        try {
            if (m_file && !m_file->IsOpen()) throw xerces_output::WriteFailed{};
            m_formatter.emplace(encoding, WIDE("1.0"), m_target.get());
            m_markup.emplace(*m_formatter);
        } catch (...) {
            Fail();
        }
    }

    template <class Write>
    bool Guarded(Write write) {
        if (m_state == State::Failed) return false;
        try {
            return write();
        } catch (...) { // the target or the formatter failed: the output is incomplete
            Fail();
            return false;
        }
    }

    bool StartDocument(View root, View publicId, View systemId) {
        if (m_state != State::New || !IsName(root) || !xml_text::IsPublicId(publicId) ||
            !xml_text::IsSystemId(systemId) || (!publicId.empty() && systemId.empty()))
            return false;
        Markup& out = *m_markup;
        out.Append(WIDE("<?xml version=\"1.0\" encoding=\""));
        out.Append(xerces_text::ViewOf(m_encoding));
        out.Append(WIDE("\" standalone=\"no\" ?>"));
        if (m_indent) out.Append(WideChar('\n'));
        if (!publicId.empty() || !systemId.empty()) {
            out.Append(WIDE("<!DOCTYPE "));
            out.Append(root);
            if (!publicId.empty()) {
                out.Append(WIDE(" PUBLIC \""));
                out.Append(publicId);
                out.Append(WIDE("\" \""));
            } else {
                out.Append(WIDE(" SYSTEM \""));
            }
            out.Append(systemId);
            out.Append(WIDE("\">"));
            if (m_indent) out.Append(WideChar('\n'));
        }
        m_state = State::Writing;
        Open(root, std::initializer_list<Attribute>());
        return true;
    }

    // A start tag, left open for the element's content or its end; the attributes come in the
    // DOM's order, by name.
    template <class Attributes = std::initializer_list<Attribute>>
    bool Begin(View name, const Attributes& attributes) {
        if (!CanAdd(name) || attributes.size() > kMostAttributes) return false;
        for (const Attribute& attribute : attributes)
            if (!IsName(attribute.name) || !IsXmlText(attribute.value)) return false;
        Open(name, attributes);
        return true;
    }

    // The variable name must be text XML can carry even where it is not written, as for the
    // handle.
    bool Class(View name, View variableName) {
        if (!IsXmlText(variableName)) return false;
        if (!m_typeCheck || variableName.empty()) return Begin(name, {});
        return Begin(name, {{kVarName, variableName}});
    }

    bool Container(View name, View kind, View itemType) {
        if (!m_typeCheck) return Begin(name, {});
        return Begin(name, {{kKeyType, kind}, {kVarKeyType, itemType}});
    }

    bool Map(View name, View keyType, View valueType) {
        if (!m_typeCheck) return Begin(name, {});
        return Begin(name,
                     {{kKeyType, WIDE("map")}, {kVarKeyType, keyType}, {kVarType, valueType}});
    }

    bool Element(View name, std::span<const std::pair<View, View>> attributes) {
        if (attributes.size() > kMostAttributes) return false;
        Attribute sorted[kMostAttributes]; // by name, as the DOM keeps them
        std::size_t count = 0;
        for (const auto& [attribute, value] : attributes) {
            std::size_t at = count++;
            for (; at > 0 && attribute < sorted[at - 1].name; --at)
                sorted[at] = sorted[at - 1];
            sorted[at] = {attribute, value};
        }
        return Begin(name, std::span<const Attribute>(sorted, count));
    }

    bool End() {
        if (m_state != State::Writing || m_open.size() < 2) return false; // not the root
        Close();
        return true;
    }

    bool Characters(View text) {
        if (m_state != State::Writing || m_open.size() < 2 || !IsXmlText(text)) return false;
        CloseStartTag();
        m_markup->AppendText(text);
        m_inText = true;
        return true;
    }

    // A whole property element: start tag, keytype and content, which the caller has found to
    // be text XML can carry.
    template <class Text, class Content>
    bool Property(View name, View type, Text text, Content writeContent) {
        if (!CanAdd(name) || (m_typeCheck && !IsXmlText(type))) return false;
        Markup& out = *m_markup;
        CloseStartTag();
        NewLine(m_open.size());
        out.Append(WideChar('<'));
        out.Append(name);
        if (m_typeCheck) WriteAttribute({kKeyType, type});
        if (text.empty()) {
            out.Append(WIDE("/>"));
            return true;
        }
        out.Append(WideChar('>'));
        writeContent(out, text);
        out.Append(WIDE("</"));
        out.Append(name);
        out.Append(WideChar('>'));
        return true;
    }

    template <class Number>
    bool Value(View name, View type, Number value) {
        if constexpr (std::is_same_v<Number, bool>) {
            return Text(name, type, value ? View(WIDE("true")) : View(WIDE("false")));
        } else {
            const auto text = Codec<Number>::Format(value);
            return Text(name, type, text.view());
        }
    }

    bool Text(View name, View type, View text) {
        return IsXmlText(text) && Property(name, type, text, [](Markup& out, View content) {
                   out.AppendText(content);
               });
    }

    bool TextUtf8(View name, View type, std::string_view text) {
        text = text.substr(0, text.find('\0'));
        return xml_text::IsXmlTextUtf8(text) &&
               Property(name, type, text,
                        [](Markup& out, std::string_view content) { out.AppendTextUtf8(content); });
    }

    bool CDATA(View name, View type, View text) {
        if (!IsXmlText(text)) return false;
        return Property(name, type, text, [](Markup& out, View content) {
            xml_text::SplitIntoCDATASections(
                content,
                [&](View section) {
                    out.Append(WIDE("<![CDATA["));
                    out.Append(section);
                    out.Append(WIDE("]]>"));
                },
                [&] { out.Append(WIDE("&#xD;")); });
        });
    }

    bool Indent() {
        if (m_state != State::New) return false;
        m_indent = true;
        return true;
    }

    bool Finish() {
        if (m_state != State::Writing) return false;
        while (!m_open.empty())
            Close();
        if (m_indent) m_markup->Append(WideChar('\n'));
        m_markup->Flush();
        if (m_file && !m_file->Commit()) throw xerces_output::WriteFailed{};
        m_state = State::Finished;
        return true;
    }

    bool Failed() const { return m_state == State::Failed; }

    // An unfinished string is emptied; an unfinished file's temporary copy goes with its target.
    ~Impl() {
        if (m_state != State::Finished && m_discard) m_discard();
    }

private:
    enum class State { New, Writing, Finished, Failed };

    void Fail() {
        if (m_state == State::Failed) return;
        m_state = State::Failed;
        diagnostics::Record(Diagnostic::Severity::FatalError, nullptr, 0, 0,
                            WIDE("writing the document's output failed"));
        if (m_discard) m_discard();
    }

    // An element can go here: the document is open, the name is one XML allows, and it stays
    // within the depth every reader accepts.
    bool CanAdd(View name) const {
        return m_state == State::Writing && m_open.size() < parse_limits::kMaxDepth && IsName(name);
    }

    void CloseStartTag() {
        if (!m_tagOpen) return;
        m_markup->Append(WideChar('>'));
        m_tagOpen = false;
    }

    void WriteAttribute(const Attribute& attribute) {
        Markup& out = *m_markup;
        out.Append(WideChar(' '));
        out.Append(attribute.name);
        out.Append(WIDE("=\""));
        out.AppendAttribute(attribute.value);
        out.Append(WideChar('"'));
    }

    // Indented, an element starts a line of its own, and so does the end tag of an element of
    // elements: between elements only, never within a value's text.
    void NewLine(std::size_t depth) {
        if (!m_indent || m_open.empty()) return;
        m_markup->Append(WideChar('\n'));
        for (std::size_t i = 0; i < depth; ++i)
            m_markup->Append(WIDE("  "));
    }

    template <class Attributes>
    void Open(View name, const Attributes& attributes) {
        CloseStartTag();
        NewLine(m_open.size());
        m_markup->Append(WideChar('<'));
        m_markup->Append(name);
        for (const Attribute& attribute : attributes)
            WriteAttribute(attribute);
        m_tagOpen = true;
        m_inText = false;
        m_open.push_back(m_names.size());
        m_names.append(name);
    }

    // Ends the innermost open element: an empty-element tag when it got no content.
    void Close() {
        const View name = View(m_names).substr(m_open.back());
        if (m_tagOpen) {
            m_markup->Append(WIDE("/>"));
            m_tagOpen = false;
        } else {
            if (!m_inText) NewLine(m_open.size() - 1);
            m_inText = false;
            m_markup->Append(WIDE("</"));
            m_markup->Append(name);
            m_markup->Append(WideChar('>'));
        }
        m_names.resize(m_open.back());
        m_open.pop_back();
    }

    bool m_typeCheck;
    const XMLCh* m_encoding;
    std::unique_ptr<xercesc::XMLFormatTarget> m_target;
    xerces_output::FileTarget* m_file;
    std::function<void()> m_discard;
    std::optional<xercesc::XMLFormatter> m_formatter;
    std::optional<Markup> m_markup;
    State m_state = State::New;
    bool m_tagOpen = false;
    bool m_indent = false;
    bool m_inText = false;           // the innermost open element holds text: no line breaks
    CBasicString<WideChar> m_names;  // of the open elements, one after another
    std::vector<std::size_t> m_open; // where each open element's name starts in m_names
};

// Each constructor starts the engine first: targets and the formatter take Xerces' memory and
// transcoders.
StreamWriter::StreamWriter(CBasicString<char>& utf8, bool typeCheck) {
    CXercesIO::StartEngine();
    utf8.clear();
    m_impl = std::make_unique<Impl>(typeCheck, xercesc::XMLUni::fgUTF8EncodingString,
                                    std::make_unique<xerces_output::StringTarget<char>>(utf8),
                                    nullptr, [&utf8] { utf8.clear(); });
}

StreamWriter::StreamWriter(CBasicString<WideChar>& utf16, bool typeCheck) {
    CXercesIO::StartEngine();
    utf16.clear();
    m_impl = std::make_unique<Impl>(typeCheck, xercesc::XMLUni::fgUTF16EncodingString,
                                    std::make_unique<xerces_output::StringTarget<WideChar>>(utf16),
                                    nullptr, [&utf16] { utf16.clear(); });
}

StreamWriter::StreamWriter(View path, Encoding encoding, bool typeCheck) {
    CXercesIO::StartEngine();
    auto file = std::make_unique<xerces_output::FileTarget>(CBasicString<WideChar>(path));
    xerces_output::FileTarget* target = file.get();
    m_impl =
        std::make_unique<Impl>(typeCheck,
                               encoding == Encoding::Utf8 ? xercesc::XMLUni::fgUTF8EncodingString
                                                          : xercesc::XMLUni::fgUTF16EncodingString,
                               std::move(file), target, nullptr);
}

StreamWriter::~StreamWriter() = default;

bool StreamWriter::Indent() {
    return m_impl->Guarded([&] { return m_impl->Indent(); });
}

bool StreamWriter::StartDocument(View rootName, View publicId, View systemId) {
    return m_impl->Guarded([&] { return m_impl->StartDocument(rootName, publicId, systemId); });
}

bool StreamWriter::BeginClass(View className, View variableName) {
    return m_impl->Guarded([&] { return m_impl->Class(className, variableName); });
}

bool StreamWriter::BeginList(View name, View itemType) {
    return m_impl->Guarded([&] { return m_impl->Container(name, WIDE("list"), itemType); });
}

bool StreamWriter::BeginDeque(View name, View itemType) { return BeginList(name, itemType); }

bool StreamWriter::BeginSet(View name, View itemType) {
    return m_impl->Guarded([&] { return m_impl->Container(name, WIDE("set"), itemType); });
}

bool StreamWriter::BeginVector(View name, View itemType) {
    return m_impl->Guarded([&] { return m_impl->Container(name, WIDE("vector"), itemType); });
}

bool StreamWriter::BeginMap(View name, View keyType, View valueType) {
    return m_impl->Guarded([&] { return m_impl->Map(name, keyType, valueType); });
}

bool StreamWriter::BeginElement(View name, std::span<const std::pair<View, View>> attributes) {
    return m_impl->Guarded([&] { return m_impl->Element(name, attributes); });
}

bool StreamWriter::End() {
    return m_impl->Guarded([&] { return m_impl->End(); });
}

// One line per value family: its text comes from the one conversion of that type.
#define CLASSXML_STREAM_WRITE(Type, Text)                                                          \
    bool StreamWriter::Write(View name, View type, Type value) {                                   \
        return m_impl->Guarded([&] { return m_impl->Value(name, type, value); });                  \
    }
CLASSXML_VALUE_FAMILIES(CLASSXML_STREAM_WRITE)
#undef CLASSXML_STREAM_WRITE

bool StreamWriter::WriteCharacters(View text) {
    return m_impl->Guarded([&] { return m_impl->Characters(text); });
}

bool StreamWriter::WriteText(View name, View type, View text) {
    return m_impl->Guarded([&] { return m_impl->Text(name, type, text); });
}

bool StreamWriter::WriteCDATA(View name, View type, View text) {
    return m_impl->Guarded([&] { return m_impl->CDATA(name, type, text); });
}

// As the handle's UTF-8 writer: the text up to its first NUL.
bool StreamWriter::WriteUTF8(View name, View type, std::string_view text) {
    return m_impl->Guarded([&] { return m_impl->TextUtf8(name, type, text); });
}

bool StreamWriter::WriteUTF8(View name, View type, CBasicStringView<char8_t> text) {
    return WriteUTF8(name, type,
                     std::string_view(reinterpret_cast<const char*>(text.data()), text.size()));
}

bool StreamWriter::Finish() {
    return m_impl->Guarded([&] { return m_impl->Finish(); });
}

bool StreamWriter::Failed() const { return m_impl->Failed(); }

} // namespace classxml
