// An outline of sections whose subsections know their parent, as a document model does: plain
// pointers come back pointing into the loaded outline, and an outline nested far deeper than
// XML documents may nest saves and loads all the same.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <classxml/archive/Archive.h>

struct Section {
    std::string title;
    std::vector<std::unique_ptr<Section>> subsections; // owned
    Section* parent = nullptr;                           // not owned: one the outline holds

    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(title), CLASSXML_NVP(subsections), CLASSXML_NVP(parent));
    }
};

struct Outline {
    Section root;
    Section* current = nullptr; // where the reader left off, anywhere in the outline

    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(root), CLASSXML_NVP(current));
    }
};

// Adds a subsection to `section`, knowing its parent.
Section* Add(Section& section, std::string title) {
    section.subsections.push_back(std::make_unique<Section>());
    Section* added = section.subsections.back().get();
    added->title = std::move(title);
    added->parent = &section;
    return added;
}

int main() {
    Outline outline;
    outline.root.title = "Manual";
    Add(outline.root, "Preface");
    Section* section = Add(outline.root, "Chapter 1");
    for (int level = 2; level <= 1000; ++level) // 1,000 levels: most are written further on
        section = Add(*section, "Part " + std::to_string(level));
    outline.current = section;

    std::string xml;
    if (const classxml::Result saved = classxml::SaveToString(xml, outline); !saved)
        return std::fprintf(stderr, "%s\n", saved.Message().c_str()), 1;
    Outline loaded;
    if (const classxml::Result read = classxml::LoadFromString(xml, loaded); !read)
        return std::fprintf(stderr, "%s\n", read.Message().c_str()), 1;
    int depth = 0;
    for (const Section* up = loaded.current; up->parent; up = up->parent)
        ++depth;
    std::printf("reading \"%s\", %d levels below \"%s\"\n", loaded.current->title.c_str(), depth,
                loaded.root.title.c_str());
    return depth == 1000 && loaded.root.subsections[0]->parent == &loaded.root ? 0 : 1;
}
