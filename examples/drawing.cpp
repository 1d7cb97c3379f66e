// A drawing of shapes behind pointers to their base: shared shapes stay shared, derived types
// come back as themselves, and a type may keep another form in its file than in memory.
#include <cstdio>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <classxml/archive/Archive.h>

struct Shape {
    std::string label;
    virtual ~Shape() = default;
    virtual double Area() const = 0;

    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(label));
    }
};

struct Circle : Shape {
    double radius = 0;
    double Area() const override { return 3.14159265358979 * radius * radius; }

    template <class Archive>
    void serialize(Archive& ar) {
        ar(classxml::BaseClass<Shape>(this), CLASSXML_NVP(radius));
    }
};

// Kept as its two sides in memory, stored as its width and its aspect ratio: save and load in
// place of serialize.
struct Rectangle : Shape {
    double width = 0, height = 0;
    double Area() const override { return width * height; }

    template <class Archive>
    void save(Archive& ar) const {
        const double aspect = height == 0 ? 0 : width / height;
        ar(classxml::BaseClass<Shape>(this), CLASSXML_NVP(width), CLASSXML_NVP(aspect));
    }
    template <class Archive>
    void load(Archive& ar) {
        double aspect = 0;
        ar(classxml::BaseClass<Shape>(this), CLASSXML_NVP(width), CLASSXML_NVP(aspect));
        height = aspect == 0 ? 0 : width / aspect;
    }
};

// Registered by their type text, so that a pointer to Shape can hold them in a file.
CLASSXML_REGISTER_TYPE(Circle)
CLASSXML_REGISTER_TYPE(Rectangle)

struct Drawing {
    std::vector<std::shared_ptr<Shape>> shapes; // one shape may stand here twice
    std::unique_ptr<Shape> highlighted;         // null comes back null
    std::variant<int, std::string> revision;    // and holds the same alternative

    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(shapes), CLASSXML_NVP(highlighted), CLASSXML_NVP(revision));
    }
};

int main() {
    Drawing drawing;
    auto wheel = std::make_shared<Circle>();
    wheel->label = "wheel", wheel->radius = 0.5;
    auto door = std::make_shared<Rectangle>();
    door->label = "door", door->width = 1, door->height = 2;
    drawing.shapes = {wheel, door, wheel};
    drawing.revision = "7b";

    std::string xml;
    if (const classxml::Result saved = classxml::SaveToString(xml, drawing); !saved)
        return std::fprintf(stderr, "%s\n", saved.Message().c_str()), 1;
    Drawing loaded;
    if (const classxml::Result read = classxml::LoadFromString(xml, loaded); !read)
        return std::fprintf(stderr, "%s\n", read.Message().c_str()), 1;
    std::printf("%zu shapes, the first and last one object: %s, door area %.1f, revision %s\n",
                loaded.shapes.size(), loaded.shapes[0] == loaded.shapes[2] ? "yes" : "no",
                loaded.shapes[1]->Area(), std::get<std::string>(loaded.revision).c_str());
    return loaded.shapes[0] == loaded.shapes[2] && !loaded.highlighted ? 0 : 1;
}
