// classxml dump: the class tree of a class-XML file, printed as the file is read, so that a file
// of any size is listed in constant memory and nesting takes no stack.
#include <cstdio>
#include <optional>

#include "Commands.h"
#include "classxml/platform/Utf.h"

namespace classxml::tool {
namespace {

using View = StreamReader::View;

// A value on one line, as the archive would load it: line feeds, carriage returns, tabs and
// backslashes as C escapes, every other control character (C0, DEL and C1, which a terminal would
// act on) as \xNN, the rest as it is.
std::string OneLine(View text) {
    std::string line;
    std::size_t plain = 0; // the start of the characters not yet taken
    const auto flush = [&](std::size_t end) {
        line += Narrow(text.substr(plain, end - plain));
        plain = end + 1;
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto unit = static_cast<std::uint16_t>(text[i]);
        const bool control = unit < 0x20 || (unit >= 0x7F && unit <= 0x9F);
        if (!control && unit != '\\') continue;
        flush(i);
        static const char kHex[] = "0123456789ABCDEF";
        switch (unit) {
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        case '\t':
            line += "\\t";
            break;
        case '\\':
            line += "\\\\";
            break;
        default:
            line += {'\\', 'x', kHex[unit >> 4], kHex[unit & 0xF]};
        }
    }
    flush(text.size());
    return line;
}

bool IsContainerKind(const std::string& keytype) {
    return keytype == "list" || keytype == "set" || keytype == "vector" || keytype == "map";
}

// Elements with child elements are classes or containers, printed as a line of their own before
// their children; the others are properties, printed with their text. Which one an element is
// shows only after its start tag, so the element last begun waits until its first child or its
// end. Its text waits with it, up to a limit, beyond which it is printed as a property as it
// comes: the printer takes the text piece by piece and holds no more than that.
class TreePrinter : public TextPieces {
public:
    void operator()(const StreamReader& reader, StreamReader::Event event) {
        if (event == StreamReader::Event::StartElement) {
            if (m_waiting && m_streaming) { // a long property with a child after all
                EndLine();
            } else if (m_waiting) {
                PrintHeading(); // it has a child: a class or a container
            }
            m_waiting.emplace(Element{reader, m_depth++});
            return;
        }
        --m_depth;
        if (!m_waiting) return;
        if (IsContainerKind(m_waiting->keytype))
            PrintHeading(); // an empty container
        else if (!m_streaming)
            StartProperty();
        if (m_streaming) EndLine();
    }

    void Take(View piece) override {
        if (!m_waiting || piece.empty()) return; // a class's own text is not shown
        // A surrogate pair split between two pieces is printed whole.
        CBasicString<WideChar> joined;
        if (m_highSurrogate) {
            joined.assign(1, m_highSurrogate).append(piece);
            piece = joined;
            m_highSurrogate = 0;
        }
        if (platform::IsHighSurrogate(piece.back())) {
            m_highSurrogate = piece.back();
            piece.remove_suffix(1);
        }
        if (m_streaming) {
            std::fputs(OneLine(piece).c_str(), stdout);
            return;
        }
        m_waiting->text += piece;
        if (m_waiting->text.size() > kMostWaiting && !IsContainerKind(m_waiting->keytype))
            StartProperty();
    }

private:
    static constexpr std::size_t kMostWaiting = 64 * 1024;

    struct Element {
        Element(const StreamReader& reader, int depth)
            : name(Narrow(reader.Name())), keytype(Attribute(reader, WIDE("keytype"))),
              depth(depth) {
            if (auto varname = reader.Attribute(WIDE("varname"))) {
                heading = name + " varname=\"" + Narrow(*varname) + "\"";
            } else {
                heading = name;
            }
            if (keytype == "map")
                heading += " [map " + Attribute(reader, WIDE("varkeytype")) + " -> " +
                           Attribute(reader, WIDE("vartype")) + "]";
            else if (!keytype.empty())
                heading += " [" + keytype + " of " + Attribute(reader, WIDE("varkeytype")) + "]";
        }
        static std::string Attribute(const StreamReader& reader, View name) {
            const auto value = reader.Attribute(name);
            return value ? Narrow(*value) : std::string();
        }

        std::string name, keytype, heading;
        int depth;
        CBasicString<WideChar> text;
    };

    std::string Indent() const { return std::string(std::size_t(2 * m_waiting->depth), ' '); }

    void PrintHeading() {
        std::printf("%s%s\n", Indent().c_str(), m_waiting->heading.c_str());
        m_waiting.reset();
        m_streaming = false;
        m_highSurrogate = 0;
    }

    void StartProperty() {
        const std::string& keytype = m_waiting->keytype;
        std::printf("%s%s%s = %s", Indent().c_str(), m_waiting->name.c_str(),
                    keytype.empty() ? "" : (" (" + keytype + ")").c_str(),
                    OneLine(m_waiting->text).c_str());
        m_waiting->text.clear();
        m_streaming = true;
    }

    void EndLine() {
        if (m_highSurrogate) std::fputs(OneLine(View(&m_highSurrogate, 1)).c_str(), stdout);
        m_highSurrogate = 0;
        std::fputc('\n', stdout);
        m_waiting.reset();
        m_streaming = false;
    }

    std::optional<Element> m_waiting;
    bool m_streaming = false; // the waiting element's property line is being printed
    int m_depth = 0;
    WideChar m_highSurrogate = 0; // the last piece's, waiting for the next one
};

} // namespace

int Dump(const Input& input, const DtdChoice& dtd, bool format) {
    if (format) return Format(input, dtd);
    TreePrinter printer;
    Report report;
    ReadDocument(
        input, dtd,
        [&](const StreamReader& reader, StreamReader::Event event) { printer(reader, event); },
        report, &printer);
    report.Print();
    return report.status;
}

} // namespace classxml::tool
