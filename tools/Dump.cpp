// classxml dump: the class tree of a class-XML file.
#include <cstdio>

#include "Commands.h"
#include "XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace classxml::tool {
namespace {

using Handle = CXMLClassReaderWriter;

// Line breaks and tabs shown as escapes, so that every property stays on one line.
std::string OneLine(CBasicStringView<WideChar> text) {
    std::string line;
    for (const char c : Narrow(text)) {
        if (c == '\n')
            line += "\\n";
        else if (c == '\r')
            line += "\\r";
        else if (c == '\t')
            line += "\\t";
        else
            line += c;
    }
    return line;
}

std::string Attribute(Handle& element, Handle::View name) {
    return Narrow(element.GetAttributeValue(name));
}

// Elements with children are classes or containers; the others are properties.
void Print(Handle& element, int depth) {
    const std::string indent(std::size_t(2 * depth), ' ');
    const std::string name = Narrow(element.GetElementName());
    Handle child = element.GetFirstSubElement();
    const std::string keytype = Attribute(element, Handle::KEY_TYPE);
    if (!child.IsDefined() && keytype != "list" && keytype != "set" && keytype != "vector" &&
        keytype != "map") {
        const std::string value = OneLine(element.GetContent());
        std::printf("%s%s%s = %s\n", indent.c_str(), name.c_str(),
                    keytype.empty() ? "" : (" (" + keytype + ")").c_str(), value.c_str());
        return;
    }
    std::string description = name;
    if (element.HasAttribute(Handle::VAR_NAME))
        description += " varname=\"" + Attribute(element, Handle::VAR_NAME) + "\"";
    if (keytype == "map")
        description += " [map " + Attribute(element, Handle::VARKEY_TYPE) + " -> " +
                       Attribute(element, Handle::VAR_TYPE) + "]";
    else if (!keytype.empty())
        description += " [" + keytype + " of " + Attribute(element, Handle::VARKEY_TYPE) + "]";
    std::printf("%s%s\n", indent.c_str(), description.c_str());
    for (; child.IsDefined(); child = child.GetNextElement())
        Print(child, depth + 1);
}

} // namespace

int Dump(const std::filesystem::path& file, const std::filesystem::path& dtdDirectory) {
    Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, false);
    if (const int verdict = ReadDocument(root, file, dtdDirectory); verdict != 0) {
        root.ReleaseDocument();
        return verdict;
    }
    Print(root, 0);
    root.ReleaseDocument();
    return 0;
}

} // namespace classxml::tool
