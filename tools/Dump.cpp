// classxml dump: the class tree of a class-XML file, printed as the file is read, so that a file
// of any size is listed in constant memory and nesting takes no stack.
#include <cstdio>
#include <optional>

#include "Commands.h"

namespace classxml::tool {
namespace {

using View = StreamReader::View;

// Line breaks and tabs shown as escapes, so that every property stays on one line. A line feed
// is shown as the handle's content holds it, after a carriage return.
std::string OneLine(View text) {
    std::string line;
    for (const char c : Narrow(text)) {
        if (c == '\n')
            line += "\\r\\n";
        else if (c == '\r')
            line += "\\r";
        else if (c == '\t')
            line += "\\t";
        else
            line += c;
    }
    return line;
}

bool IsContainerKind(const std::string& keytype) {
    return keytype == "list" || keytype == "set" || keytype == "vector" || keytype == "map";
}

// Elements with child elements are classes or containers, printed as a line of their own before
// their children; the others are properties, printed with their text. Which one an element is
// shows only after its start tag, so the element last begun waits until its first child or its
// end. Its text waits with it, up to a limit, beyond which it is printed as a property as it
// comes.
class TreePrinter {
public:
    void operator()(const StreamReader& reader, StreamReader::Event event) {
        switch (event) {
        case StreamReader::Event::StartElement:
            if (m_waiting && m_streaming) { // a long property with a child after all
                std::fputc('\n', stdout);
                m_waiting.reset();
                m_streaming = false;
            } else if (m_waiting) {
                PrintHeading(); // it has a child: a class or a container
            }
            m_waiting.emplace(Element{reader, m_depth++});
            break;
        case StreamReader::Event::Text:
            if (!m_waiting) break; // a class's own text is not shown
            if (m_streaming) {
                std::fputs(OneLine(reader.Text()).c_str(), stdout);
            } else {
                m_waiting->text += reader.Text();
                if (m_waiting->text.size() > kMostWaiting && !IsContainerKind(m_waiting->keytype))
                    StartProperty();
            }
            break;
        default:
            --m_depth;
            if (!m_waiting) break;
            if (IsContainerKind(m_waiting->keytype))
                PrintHeading(); // an empty container
            else if (!m_streaming)
                StartProperty();
            if (m_streaming) std::fputc('\n', stdout);
            m_waiting.reset();
            m_streaming = false;
        }
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
    }

    void StartProperty() {
        const std::string& keytype = m_waiting->keytype;
        std::printf("%s%s%s = %s", Indent().c_str(), m_waiting->name.c_str(),
                    keytype.empty() ? "" : (" (" + keytype + ")").c_str(),
                    OneLine(m_waiting->text).c_str());
        m_waiting->text.clear();
        m_streaming = true;
    }

    std::optional<Element> m_waiting;
    bool m_streaming = false; // the waiting element's property line is being printed
    int m_depth = 0;
};

} // namespace

int Dump(const std::filesystem::path& file, const std::filesystem::path& dtdDirectory) {
    return ReadDocument(file, dtdDirectory, TreePrinter());
}

} // namespace classxml::tool
