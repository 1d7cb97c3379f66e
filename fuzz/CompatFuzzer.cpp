// classxml compat against the validator: two small DTDs made from the input, and documents
// made from the older one. When the check finds no loss, every document the older DTD takes
// the newer takes too; each example it prints for a loss, the older takes and the newer
// refuses.
//
// The input's bytes drive every choice in turn (declarations first, then documents); past its
// end every choice is the first.
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/compat/Compatibility.h"
#include "classxml/stream/StreamReader.h"
#include "classxml/xmlio/ReadSettings.h"

namespace {

using classxml::dtd_declarations::Attribute;
using classxml::dtd_declarations::Declarations;
using classxml::dtd_declarations::Element;
using classxml::dtd_declarations::Particle;

const char* const kNames[] = {"e", "a", "b", "c"};
const char* const kTypes[] = {"CDATA", "NMTOKEN", "NMTOKENS", "(x|y)", "(x)", "(x|y|z)"};
const char* const kPresence[] = {"#IMPLIED", "#REQUIRED", "'x'", "#FIXED 'x'", "#FIXED 'y z'"};
const char* const kValues[] = {"x", "y", "1", "x y", "", "z", "y z"};

class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}
    int Pick(int choices) { return m_at < m_size ? m_data[m_at++] % choices : 0; }
    bool Left() const { return m_at < m_size; }

private:
    const std::uint8_t* m_data;
    std::size_t m_size, m_at = 0;
};

std::string Model(Choices& choices, int depth) {
    const char* repeat[] = {"", "?", "*", "+"};
    const int kind = depth >= 2 ? 0 : choices.Pick(3);
    std::string text;
    if (kind == 0) {
        text = kNames[choices.Pick(4)];
    } else {
        const int items = 1 + choices.Pick(3);
        text = "(";
        for (int i = 0; i < items; ++i) {
            if (i > 0) text.push_back(kind == 1 ? ',' : '|');
            text.append(Model(choices, depth + 1));
        }
        text.push_back(')');
    }
    return text + repeat[choices.Pick(4)];
}

std::string Dtd(Choices& choices) {
    std::string dtd;
    for (const char* name : kNames) {
        if (choices.Pick(8) == 0) continue; // undeclared
        std::string content;
        switch (choices.Pick(5)) {
        case 0:
            content = "EMPTY";
            break;
        case 1:
            content = "ANY";
            break;
        case 2:
            content = choices.Pick(2) ? "(#PCDATA)" : "(#PCDATA|a|c)*";
            break;
        default: {
            content = Model(choices, 0);
            if (content.front() != '(') content = "(" + content + ")";
        }
        }
        dtd += std::string("<!ELEMENT ") + name + " " + content + ">\n";
        for (const char* attribute : {"n", "m"})
            if (choices.Pick(3) == 0)
                dtd += std::string("<!ATTLIST ") + name + " " + attribute + " " +
                       kTypes[choices.Pick(6)] + " " + kPresence[choices.Pick(5)] + ">\n";
    }
    return dtd;
}

const Element* Find(const Declarations& dtd, const std::string& name) {
    for (const Element& element : dtd.elements)
        if (element.name == name) return &element;
    return nullptr;
}

void Instance(const Declarations& dtd, const std::string& name, Choices& choices, int depth,
              std::string& out);

void Content(const Declarations& dtd, const Particle& particle, Choices& choices, int depth,
             std::string& out) {
    int times = 1;
    if (particle.repeat == '?') times = choices.Pick(2);
    if (particle.repeat == '*') times = choices.Pick(3);
    if (particle.repeat == '+') times = 1 + choices.Pick(2);
    for (int i = 0; i < times; ++i) {
        if (particle.kind == Particle::Kind::Name)
            Instance(dtd, particle.name, choices, depth + 1, out);
        else if (particle.kind == Particle::Kind::Choice)
            Content(dtd, particle.items[std::size_t(choices.Pick(int(particle.items.size())))],
                    choices, depth, out);
        else
            for (const Particle& item : particle.items)
                Content(dtd, item, choices, depth, out);
    }
}

// A document the older DTD is likely to take: its content models followed, with a few slips.
void Instance(const Declarations& dtd, const std::string& name, Choices& choices, int depth,
              std::string& out) {
    out += "<" + name;
    const Element* element = Find(dtd, name);
    if (!element || depth > 4) return out += "/>", void();
    for (const Attribute& attribute : element->attributes)
        if (attribute.presence == Attribute::Presence::Required || choices.Pick(2))
            out += " " + attribute.name + "=\"" + kValues[choices.Pick(7)] + "\"";
    out += ">";
    switch (element->content) {
    case Element::Content::Empty:
        break;
    case Element::Content::Any:
    case Element::Content::Mixed:
        for (int i = choices.Pick(3); i > 0; --i) {
            if (choices.Pick(2)) out += "t";
            const auto& names = element->content == Element::Content::Mixed
                                    ? element->mixed
                                    : std::vector<std::string>{"e", "a", "b", "c"};
            if (!names.empty())
                Instance(dtd, names[std::size_t(choices.Pick(int(names.size())))], choices,
                         depth + 1, out);
        }
        break;
    case Element::Content::Children:
        if (choices.Pick(4) == 0) out += " ";
        Content(dtd, element->model, choices, depth, out);
    }
    out += "</" + name + ">";
}

bool Valid(const std::string& document, const std::filesystem::path& dtd) {
    const auto file = classxml::fuzz::ScratchDirectory() / "document.xml";
    std::ofstream(file, std::ios::binary | std::ios::trunc) << document;
    const classxml::read_settings::Scope quiet(std::nullopt, true);
    classxml::StreamReader reader;
    reader.ValidateAgainst(classxml::fuzz::Wide(dtd));
    reader.OpenFile(classxml::fuzz::Wide(file));
    for (;;) {
        const auto event = reader.NextTag();
        if (event == classxml::StreamReader::Event::End) return true;
        if (event == classxml::StreamReader::Event::Error) return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices(data, size);
    const auto& scratch = classxml::fuzz::ScratchDirectory();
    const std::filesystem::path paths[2] = {scratch / "old.dtd", scratch / "new.dtd"};
    Declarations dtds[2];
    for (int i = 0; i < 2; ++i) {
        std::ofstream(paths[i], std::ios::binary | std::ios::trunc) << Dtd(choices);
        std::string problem;
        FUZZ_CHECK(
            classxml::dtd_declarations::Read(classxml::fuzz::Wide(paths[i]), dtds[i], problem));
    }
    std::vector<classxml::compat::Loss> losses;
    try {
        losses = classxml::compat::Compare(dtds[0], dtds[1]);
    } catch (const std::invalid_argument&) {
        return 0; // a default its type refuses
    } catch (const std::length_error&) {
        return 0;
    }
    for (const auto& loss : losses) {
        FUZZ_CHECK(Valid(loss.example, paths[0]));
        // The parser takes a value of several names for an enumeration when they stand in its
        // list in that order ("y z" for (x|y|z)); compat holds to XML, as xmllint does.
        const std::size_t value = loss.what.find("refuses the value \"");
        if (value == std::string::npos || loss.what.find(' ', value + 19) == std::string::npos)
            FUZZ_CHECK(!Valid(loss.example, paths[1]));
    }
    if (!losses.empty() || dtds[0].elements.empty()) return 0;
    for (int documents = 0; documents < 4 && choices.Left(); ++documents) {
        std::string document;
        Instance(dtds[0],
                 dtds[0].elements[std::size_t(choices.Pick(int(dtds[0].elements.size())))].name,
                 choices, 0, document);
        if (Valid(document, paths[0])) FUZZ_CHECK(Valid(document, paths[1]));
    }
    return 0;
}
