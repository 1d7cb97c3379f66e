// Arbitrary documents loaded by the archive into a model with pointers (shared, unique, weak,
// plain and polymorphic; a ring, and children that know their parent), a variant, a tuple,
// containers, a binary member and a versioned class with optional and renamed members, on both
// engines: nothing crashes or leaks,
// both engines come to the same verdict and the same object, and a failed load leaves the
// object as it was.
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "FuzzSupport.h"
#include "classxml/archive/Archive.h"

namespace {

struct Base {
    virtual ~Base() = default;
    std::int32_t id = 0;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(id));
    }
};

struct Leaf : Base {
    std::string text;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(classxml::BaseClass<Base>(this), CLASSXML_NVP(text));
    }
};

// Version 2: `count` was "number" before, and `extra` came with version 1 and may be missing.
struct Versioned {
    std::int32_t count = 5;
    std::string extra = "e";
    template <class Archive>
    void serialize(Archive& ar, std::uint32_t version) {
        ar(classxml::OldName("number", CLASSXML_NVP(count)));
        if (version >= 1) ar(classxml::Optional(CLASSXML_NVP(extra)));
    }
};

// A node of a ring through shared_ptr, whose children know their parent.
struct Node {
    std::int32_t value = 0;
    std::shared_ptr<Node> next;
    Node* parent = nullptr;
    std::vector<std::unique_ptr<Node>> children;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(value), CLASSXML_NVP(next), CLASSXML_NVP(parent), CLASSXML_NVP(children));
    }
};

// The ring's first node, which lets go of every ring through the nodes it reaches when it is
// replaced or dies, whatever a document made of them.
struct Ring {
    std::shared_ptr<Node> head;
    Ring() = default;
    Ring(Ring&& other) noexcept : head(std::move(other.head)) {}
    Ring& operator=(Ring&& other) noexcept {
        Break();
        head = std::move(other.head);
        return *this;
    }
    ~Ring() { Break(); }
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(head));
    }

private:
    void Break() {
        std::vector<std::shared_ptr<Node>> kept{head};
        std::vector<Node*> pending{head.get()};
        std::set<Node*> seen;
        while (!pending.empty()) {
            Node* node = pending.back();
            pending.pop_back();
            if (!node || !seen.insert(node).second) continue;
            pending.push_back(node->next.get());
            kept.push_back(std::move(node->next));
            for (const auto& child : node->children)
                pending.push_back(child.get());
        }
        head.reset();
    }
};

} // namespace

CLASSXML_CLASS_VERSION(Versioned, 2)

namespace {

struct Model {
    std::shared_ptr<Base> first, second;
    std::weak_ptr<Base> watched;
    Versioned versioned;
    std::unique_ptr<Base> owned;
    std::variant<std::monostate, double, std::string> choice;
    std::tuple<std::int64_t, bool> pair{-1, true};
    std::vector<std::optional<std::uint32_t>> items;
    std::map<std::string, std::vector<double>> series;
    std::optional<std::string> note;
    std::vector<std::byte> blob;
    Ring ring;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(first), CLASSXML_NVP(second), CLASSXML_NVP(watched),
           CLASSXML_NVP(versioned), CLASSXML_NVP(owned), CLASSXML_NVP(choice), CLASSXML_NVP(pair),
           CLASSXML_NVP(items), CLASSXML_NVP(series), CLASSXML_NVP(note), CLASSXML_NVP(blob),
           CLASSXML_NVP(ring));
    }
};

// A model with something in every member, so that a load that changed it would show.
Model Sample() {
    Model model;
    auto leaf = std::make_shared<Leaf>();
    leaf->id = 7;
    leaf->text = "seven";
    model.first = leaf;
    model.second = leaf;
    model.watched = leaf;
    model.owned = std::make_unique<Base>();
    model.choice = 2.5;
    model.items = {1u, std::nullopt};
    model.series["a"] = {1, 2};
    model.note = "n";
    for (int i = 0; i < 3; ++i)
        model.blob.push_back(std::byte(i));
    auto second = std::make_shared<Node>();
    model.ring.head = std::make_shared<Node>();
    model.ring.head->next = second;
    second->value = 2;
    second->next = model.ring.head;
    second->children.push_back(std::make_unique<Node>());
    second->children.back()->parent = second.get();
    return model;
}

// The model as its document: what the comparisons below compare.
std::string Text(const Model& model) {
    std::string xml;
    FUZZ_CHECK(classxml::SaveToString(xml, model));
    return xml;
}

} // namespace

CLASSXML_REGISTER_TYPE(Leaf)

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    CXMLClassReaderWriter::SetDtdDirectory(classxml::fuzz::Wide(classxml::fuzz::ScratchDirectory()),
                                           CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string document(reinterpret_cast<const char*>(data), size);
    const std::string before = Text(Sample());
    std::optional<std::string> loaded[2];
    for (const classxml::Engine engine : {classxml::Engine::Dom, classxml::Engine::Stream}) {
        Model model = Sample();
        if (classxml::LoadFromString(document, model, engine))
            loaded[int(engine)] = Text(model);
        else
            FUZZ_CHECK(Text(model) == before);
    }
    FUZZ_CHECK(loaded[0] == loaded[1]);
    return 0;
}
