// Object graphs beyond plain members, on both engines: structures of any depth, types built
// from what they read, types that are really one value, binary members (inline and moved out by
// pre-read extraction), and the same bytes from both engines for each.
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/archive/Archive.h"
#include "classxml/platform/ProcessLimits.h"
#include "classxml/valuetext/Base64.h"
#include "support/ArchiveEngines.h"
#include "support/TempDir.h"
#include "support/Validators.h"

namespace {

// Money in cents, stored as a member of type std::int64_t would be.
class Money {
public:
    Money() = default;
    explicit Money(std::int64_t cents) : m_cents(cents) {}
    template <class Archive>
    std::int64_t save_minimal(const Archive&) const {
        return m_cents;
    }
    template <class Archive>
    void load_minimal(const Archive&, const std::int64_t& cents) {
        m_cents = cents;
    }
    bool operator==(const Money&) const = default;

private:
    std::int64_t m_cents = 0;
};

// An identifier with free functions, stored as text.
struct Code {
    std::string text;
    bool operator==(const Code&) const = default;
};
template <class Archive>
std::string save_minimal(const Archive&, const Code& code) {
    return code.text;
}
template <class Archive>
void load_minimal(const Archive&, Code& code, const std::string& text) {
    code.text = text;
}

// No default constructor: a pointer builds it from what it reads.
class Account {
public:
    Account(std::string owner, Money balance) : m_owner(std::move(owner)), m_balance(balance) {}
    template <class Archive>
    void serialize(Archive& ar) {
        ar("owner", m_owner)("balance", m_balance);
    }
    template <class Archive>
    static void load_and_construct(Archive& ar, classxml::Construct<Account>& construct) {
        std::string owner;
        Money balance;
        ar("owner", owner)("balance", balance);
        construct(owner, balance);
    }
    const std::string& Owner() const { return m_owner; }
    const Money& Balance() const { return m_balance; }

private:
    std::string m_owner;
    Money m_balance;
};

// The same with a free function, one that may decline to build.
struct Badge {
    explicit Badge(int number) : number(number) {}
    int number;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(number));
    }
};
template <class Archive>
void load_and_construct(Archive& ar, classxml::Construct<Badge>& construct) {
    int number = 0;
    ar(CLASSXML_NVP(number));
    if (number >= 0) construct(number);
}

struct Ledger {
    Money total{12345};
    Code code{"EUR-7"};
    std::vector<Money> entries{Money(-5), Money(9007199254740993)};
    std::unique_ptr<Account> main;
    std::shared_ptr<Account> shared, again;
    std::unique_ptr<Badge> badge;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(total), CLASSXML_NVP(code), CLASSXML_NVP(entries), CLASSXML_NVP(main),
           CLASSXML_NVP(shared), CLASSXML_NVP(again), CLASSXML_NVP(badge));
    }
};

// A root the archive cannot load aside and move over: it is loaded in place.
struct Pinned {
    Pinned() = default;
    Pinned& operator=(Pinned&&) = delete;
    std::vector<int> values{1, 2};
    std::array<int, 2> pair{3, 4};
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(values), CLASSXML_NVP(pair));
    }
};

// A chain through unique_ptr, let go of a link at a time: the default destructor would take
// stack in proportion to its length.
struct Link {
    int value = 0;
    std::unique_ptr<Link> next;
    Link() = default;
    Link(Link&&) = default;
    Link& operator=(Link&&) = default;
    ~Link() {
        while (next)
            next = std::move(next->next);
    }
    template <class A>
    void serialize(A& ar) {
        ar(CLASSXML_NVP(value), CLASSXML_NVP(next));
    }
};

// A tree whose nodes know their parent, let go of a node at a time.
struct Branch {
    std::string name;
    std::vector<std::unique_ptr<Branch>> children;
    Branch* parent = nullptr;
    Branch() = default;
    Branch(Branch&&) = default;
    Branch& operator=(Branch&&) = default;
    ~Branch() {
        std::vector<std::unique_ptr<Branch>> pending = std::move(children);
        while (!pending.empty()) {
            const std::unique_ptr<Branch> branch = std::move(pending.back());
            pending.pop_back();
            for (auto& child : branch->children)
                pending.push_back(std::move(child));
            branch->children.clear();
        }
    }
    template <class A>
    void serialize(A& ar) {
        ar(CLASSXML_NVP(name), CLASSXML_NVP(children), CLASSXML_NVP(parent));
    }
};

// Plain pointers to objects before them and after them: the root itself, the chain's last link
// and the tree's deepest node. Moved into place once loaded, as a root is.
struct Deep {
    Deep* self = nullptr;
    Link* last = nullptr;
    Branch* deepest = nullptr;
    Link chain;
    Branch tree;
    template <class A>
    void serialize(A& ar) {
        ar(CLASSXML_NVP(self), CLASSXML_NVP(last), CLASSXML_NVP(deepest), CLASSXML_NVP(chain),
           CLASSXML_NVP(tree));
    }
};

// A chain of `links` links, and a tree `depth` levels deep whose every node but the deepest has
// a leaf beside the next one down.
void Grow(Deep& deep, int links, int depth) {
    Link* link = &deep.chain;
    for (int i = 1; i < links; ++i) {
        link->next = std::make_unique<Link>();
        link = link->next.get();
        link->value = i;
    }
    deep.last = link;
    Branch* branch = &deep.tree;
    branch->name = "0";
    for (int level = 1; level < depth; ++level) {
        for (const std::string& name : {"leaf " + std::to_string(level), std::to_string(level)}) {
            branch->children.push_back(std::make_unique<Branch>());
            branch->children.back()->name = name;
            branch->children.back()->parent = branch;
        }
        branch = branch->children.back().get();
    }
    deep.deepest = branch;
    deep.self = &deep;
}

// Walks both, a link and a node at a time; the first difference, or empty.
std::string Difference(const Deep& a, const Deep& b) {
    const Link *x = &a.chain, *y = &b.chain;
    for (; x && y; x = x->next.get(), y = y->next.get())
        if (x->value != y->value) return "link " + std::to_string(x->value);
    if (x || y) return "the chain's length";
    if (b.self != &b || (b.last && b.last->next) || b.last->value != a.last->value)
        return "the pointers to the root and the last link";
    std::vector<std::pair<const Branch*, const Branch*>> pending{{&a.tree, &b.tree}};
    while (!pending.empty()) {
        const auto [p, q] = pending.back();
        pending.pop_back();
        if (p->name != q->name || p->children.size() != q->children.size())
            return "node " + p->name;
        if (p == a.deepest && q != b.deepest) return "the pointer to the deepest node";
        for (std::size_t i = 0; i < p->children.size(); ++i) {
            if (q->children[i]->parent != q) return "the parent of " + q->children[i]->name;
            pending.emplace_back(p->children[i].get(), q->children[i].get());
        }
    }
    return {};
}

// Levels nested through map values, each with a link of its own: past the depth where pointees
// are deferred, the links' pointers wait inside values the load moves into their maps.
struct Hop {
    std::map<int, Hop> deeper;
    std::unique_ptr<Link> link;
    template <class A>
    void serialize(A& ar) {
        ar(CLASSXML_NVP(deeper), CLASSXML_NVP(link));
    }
};

// A link a plain pointer points into, held by a shared_ptr and watched by a weak_ptr.
struct Watched {
    std::shared_ptr<Link> owner = std::make_shared<Link>();
    std::weak_ptr<Link> weak = owner;
    Link* into = owner.get();
    template <class A>
    void serialize(A& ar) {
        ar(CLASSXML_NVP(owner), CLASSXML_NVP(weak), CLASSXML_NVP(into));
    }
};

class ArchiveGraphTest : public classxml::testing::ArchiveEngineTest {};

CLASSXML_ON_BOTH_ENGINES(ArchiveGraphTest);

// Deeper than the parser lets a document nest, and than a small stack would let a walk recurse.
TEST_P(ArchiveGraphTest, StructuresOfAnyDepthComeBackOnASmallStack) {
    struct Run {
        classxml::Engine engine, other;
        Deep saved, loaded;
        std::string xml, otherXml;
        classxml::Result savedResult, otherResult, loadedResult;
    } run{engine, other, {}, {}, {}, {}, {}, {}, {}};
    Grow(run.saved, 100'000, 10'000);
    constexpr std::size_t kStack = std::size_t(2) << 20;
    ASSERT_TRUE(classxml::platform::RunOnStack(
        kStack,
        [](void* context) {
            Run& run = *static_cast<Run*>(context);
            run.savedResult = classxml::SaveToString(run.xml, run.saved, run.engine);
            run.otherResult = classxml::SaveToString(run.otherXml, run.saved, run.other);
            run.loadedResult = classxml::LoadFromString(run.xml, run.loaded, run.engine);
        },
        &run));
    ASSERT_TRUE(run.savedResult) << run.savedResult.Message();
    ASSERT_TRUE(run.otherResult) << run.otherResult.Message();
    EXPECT_TRUE(run.xml == run.otherXml);
    ASSERT_TRUE(run.loadedResult) << run.loadedResult.Message();
    EXPECT_EQ(Difference(run.saved, run.loaded), "");
}

// Objects written one at a time keep their deferred objects and plain pointers to themselves.
TEST_P(ArchiveGraphTest, DeepObjectsComeBackOneAtATime) {
    std::vector<Deep> saved(3);
    for (std::size_t i = 0; i < saved.size(); ++i)
        Grow(saved[i], 300 + int(i), 100);
    std::string xml, otherXml;
    for (const auto& [text, on] : {std::pair{&xml, engine}, std::pair{&otherXml, other}}) {
        classxml::ObjectWriter out(classxml::InString{*text}, "Outlines", on);
        for (const Deep& deep : saved)
            ASSERT_TRUE(out.Write(deep));
        ASSERT_TRUE(out.Finish());
    }
    EXPECT_TRUE(xml == otherXml);
    classxml::ObjectReader in(classxml::FromString{xml}, "Outlines", engine);
    std::size_t read = 0;
    for (Deep deep; read < saved.size() && in.Read(deep); ++read)
        EXPECT_EQ(Difference(saved[read], deep), "") << read;
    const classxml::Result finished = in.Finish();
    EXPECT_TRUE(finished) << finished.Message();
    EXPECT_EQ(read, saved.size());
}

TEST_P(ArchiveGraphTest, PointersWaitingInsideMapValuesFollowThemIntoTheMap) {
    Hop saved;
    Hop* hop = &saved;
    for (int level = 0; level < 60; ++level) {
        hop->link = std::make_unique<Link>();
        hop->link->value = level;
        hop = &hop->deeper[level];
    }
    std::string xml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    ASSERT_NE(xml.find("<deferred "), std::string::npos);
    Hop loaded;
    const classxml::Result result = classxml::LoadFromString(xml, loaded, engine);
    ASSERT_TRUE(result) << result.Message();
    int level = 0;
    for (const Hop* at = &loaded; at->link; at = &at->deeper.begin()->second, ++level)
        ASSERT_EQ(at->link->value, level);
    EXPECT_EQ(level, 60);
}

// A plain pointer points into what the document holds, or is null; any other fails the save.
TEST_P(ArchiveGraphTest, APlainPointerOutsideTheDocumentFailsTheSaveNamingIt) {
    Deep saved;
    Grow(saved, 3, 3);
    saved.deepest = nullptr;
    std::string xml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    Deep loaded;
    ASSERT_TRUE(classxml::LoadFromString(xml, loaded, engine));
    EXPECT_EQ(loaded.deepest, nullptr);
    EXPECT_EQ(Difference(saved, loaded), "");
    // Loaded, a number no object carries, or an object of another type, is refused.
    const std::string last = "<pointer varname=\"last\" varref=\"";
    const std::size_t number = xml.find(last) + last.size();
    ASSERT_NE(xml.find(last), std::string::npos) << xml;
    const std::string id = xml.substr(number, xml.find('"', number) - number);
    const auto edited = [&](const std::string& from, const std::string& to) {
        std::string text = xml;
        text.replace(text.find(from), from.size(), to);
        Deep kept;
        return classxml::LoadFromString(text, kept, engine).Message();
    };
    EXPECT_EQ(edited(last + id, last + "99"),
              "Deep/last: expected an object with varid 99, found none");
    EXPECT_EQ(edited("varname=\"self\" varref=\"0\"", "varname=\"self\" varref=\"" + id + '"'),
              "Deep/self: expected an object of type Deep under varref " + id +
                  ", found one of type Link");
    // A document whose object only a weak pointer holds, which dies with the load, leaves no
    // pointer to it.
    Watched watched;
    ASSERT_TRUE(classxml::SaveToString(xml, watched, engine));
    ASSERT_TRUE(classxml::LoadFromString(xml, watched, engine));
    EXPECT_EQ(watched.into, watched.owner.get());
    const std::string owner = "<pointer varid=\"1\" varname=\"owner\">";
    const std::size_t owned = xml.find(owner);
    ASSERT_NE(owned, std::string::npos) << xml;
    xml.replace(owned, owner.size(),
                "<pointer varname=\"owner\"/><pointer varid=\"1\" varname=\"weak\">");
    const std::string weak = "<pointer varname=\"weak\" varref=\"1\"/>";
    xml.replace(xml.find(weak), weak.size(), "");
    EXPECT_EQ(classxml::LoadFromString(xml, watched, engine).Message(),
              "Watched/into: expected an object the loaded object holds under varref 2, found one "
              "only weak pointers hold")
        << xml;
    Link elsewhere;
    saved.last = &elsewhere;
    const classxml::Result failed = classxml::SaveToString(xml, saved, engine);
    EXPECT_EQ(failed.Message(), "Deep/last: expected a pointer to an object the document holds, "
                                "found one to an object it does not");
}

TEST_P(ArchiveGraphTest, OneValueTypesAreStoredAsTheirValueAndBuiltTypesComeBack) {
    Ledger saved;
    saved.main = std::make_unique<Account>("ana", Money(100));
    saved.shared = std::make_shared<Account>("bo", Money(-1));
    saved.again = saved.shared;
    saved.badge = std::make_unique<Badge>(7);
    std::string xml, otherXml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    ASSERT_TRUE(classxml::SaveToString(otherXml, saved, other));
    EXPECT_EQ(xml, otherXml);
    for (const std::string_view text : {
             "<total keytype=\"__int64\">12345</total>",
             "<code keytype=\"CUTF8String\">EUR-7</code>",
             "<entries keytype=\"vector\" varkeytype=\"__int64\"><item keytype=\"__int64\">-5",
             "<balance keytype=\"__int64\">100</balance>",
         })
        EXPECT_NE(xml.find(text), std::string::npos) << text << "\n" << xml;

    Ledger loaded;
    loaded.total = Money(0);
    loaded.entries.clear();
    const classxml::Result result = classxml::LoadFromString(xml, loaded, engine);
    ASSERT_TRUE(result) << result.Message();
    EXPECT_EQ(loaded.total, saved.total);
    EXPECT_EQ(loaded.code, saved.code);
    EXPECT_EQ(loaded.entries, saved.entries);
    ASSERT_TRUE(loaded.main && loaded.shared && loaded.badge);
    EXPECT_EQ(loaded.main->Owner(), "ana");
    EXPECT_EQ(loaded.main->Balance(), Money(100));
    EXPECT_EQ(loaded.shared->Owner(), "bo");
    EXPECT_EQ(loaded.again, loaded.shared);
    EXPECT_EQ(loaded.badge->number, 7);
}

// A one-value type is declared as its value; a type without a default constructor by what its
// load_and_construct reads.
TEST(ArchiveGraphDtd, DeclaresOneValueTypesAsValuesAndBuiltTypesByWhatTheyRead) {
    const std::string dtd = classxml::DtdFor<Ledger>();
    for (const char* declared :
         {"<!ELEMENT total (#PCDATA)>", "<!ELEMENT Account (owner, balance)>",
          "<!ELEMENT Badge (number)>"})
        EXPECT_NE(dtd.find(declared), std::string::npos) << declared << "\n" << dtd;
    const classxml::testing::TempDir directory;
    ASSERT_TRUE(classxml::SaveDtd<Ledger>((directory / "ledger.dtd").string()));
    Ledger saved;
    saved.main = std::make_unique<Account>("ana", Money(100));
    saved.badge = std::make_unique<Badge>(7);
    const std::string file = (directory / "ledger.xml").string();
    ASSERT_TRUE(classxml::SaveToFile(file, saved, classxml::DocumentType{{}, "ledger.dtd"}));
    Ledger loaded;
    const classxml::Result result = classxml::LoadFromFile(file, loaded); // validated
    EXPECT_TRUE(result) << result.Message();
}

// A container replaces its member only once all of it has loaded, also in a root loaded in place.
TEST_P(ArchiveGraphTest, AContainerThatFailsHalfwayKeepsWhatItHeldInARootLoadedInPlace) {
    const std::string items = "<values keytype=\"vector\" varkeytype=\"int\"><item "
                              "keytype=\"int\">7</item><item keytype=\"int\">x</item></values>";
    const std::string pair = "<pair keytype=\"vector\" varkeytype=\"int\"><item "
                             "keytype=\"int\">7</item><item keytype=\"int\">8</item><item "
                             "keytype=\"int\">9</item></pair>";
    Pinned pinned;
    EXPECT_FALSE(classxml::LoadFromString("<Pinned>" + items + "</Pinned>", pinned, engine));
    EXPECT_EQ(pinned.values, (std::vector<int>{1, 2}));
    EXPECT_FALSE(classxml::LoadFromString(
        "<Pinned><values keytype=\"vector\" varkeytype=\"int\"/>" + pair + "</Pinned>", pinned,
        engine));
    EXPECT_EQ(pinned.pair, (std::array<int, 2>{3, 4}));
}

TEST_P(ArchiveGraphTest, WhatCannotBeBuiltOrIsNotItsValueIsRefusedAndTheObjectKept) {
    Ledger saved;
    saved.badge = std::make_unique<Badge>(7);
    std::string xml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    const struct {
        std::string from, to, failure;
    } cases[] = {
        {"<number keytype=\"int\">7", "<number keytype=\"int\">-7",
         "Ledger/badge/Badge[1]: an object that load_and_construct builds / none built"},
        {">12345<", ">12x<", "Ledger/total: __int64 / \"12x\""},
        {"<code keytype=\"CUTF8String\">", "<code keytype=\"int\">",
         "Ledger/code: CUTF8String / keytype int"},
    };
    for (const auto& c : cases) {
        std::string edited = xml;
        ASSERT_NE(edited.find(c.from), std::string::npos) << c.from;
        edited.replace(edited.find(c.from), c.from.size(), c.to);
        Ledger loaded;
        loaded.code.text = "kept";
        const classxml::Result result = classxml::LoadFromString(edited, loaded, engine);
        EXPECT_FALSE(result);
        EXPECT_EQ(result.path + ": " + result.expected + " / " + result.found, c.failure);
        EXPECT_EQ(loaded.code.text, "kept");
    }
}

std::vector<std::byte> RandomBytes(std::size_t size) {
    std::mt19937 random(36);
    std::vector<std::byte> bytes(size);
    for (std::byte& byte : bytes)
        byte = std::byte(random());
    return bytes;
}

// 0, 1, 2, ...
std::vector<std::byte> Counting(std::size_t size) {
    std::vector<std::byte> bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = std::byte(i);
    return bytes;
}

struct Attachment {
    std::vector<std::byte> small = Counting(3);
    std::vector<std::byte> empty;
    std::vector<std::byte> large;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(small), CLASSXML_NVP(empty), CLASSXML_NVP(large));
    }
};

// Every form of object graph in one model: deep structures with plain pointers, a shared object
// held also through a weak pointer, and binary members.
struct Graph {
    Deep deep;
    std::shared_ptr<Link> shared = std::make_shared<Link>();
    std::weak_ptr<Link> weak = shared;
    Attachment attachment;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(deep), CLASSXML_NVP(shared), CLASSXML_NVP(weak), CLASSXML_NVP(attachment));
    }
};

TEST_P(ArchiveGraphTest, EveryFormOfGraphIsValidAgainstItsDtd) {
    classxml::testing::TempDir dir;
    ASSERT_TRUE(classxml::SaveDtd<Graph>((dir / "graph.dtd").string()));
    Graph saved;
    Grow(saved.deep, 300, 100);
    const auto file = dir / "graph.xml";
    ASSERT_TRUE(classxml::SaveToFile(file.string(), saved, classxml::DocumentType{{}, "graph.dtd"},
                                     engine));
    Graph loaded;
    const classxml::Result result = classxml::LoadFromFile(file.string(), loaded, engine);
    ASSERT_TRUE(result) << result.Message();
    EXPECT_EQ(Difference(saved.deep, loaded.deep), "");
    EXPECT_EQ(loaded.weak.lock(), loaded.shared);
    const std::string xmllint = classxml::testing::XmllintVerdict(file);
    EXPECT_TRUE(xmllint.empty() || xmllint == "X");
}

TEST(Base64, DecodesWhatItEncodesAndRefusesWhatIsNotBase64) {
    for (const std::size_t size : {0, 1, 2, 3, 4, 5, 300}) {
        const auto bytes = RandomBytes(size);
        std::string text;
        classxml::value_text::AppendBase64(bytes, text);
        std::vector<std::byte> back;
        classxml::value_text::Base64Decoder decoder(back);
        for (const char c : text) // a character at a time, as pieces may fall
            decoder.Take(std::string_view(&c, 1));
        EXPECT_TRUE(decoder.Finish()) << text;
        EXPECT_EQ(back, bytes) << text;
    }
    const struct {
        std::string_view text;
        bool valid;
        std::size_t bytes;
    } cases[] = {
        {"AAEC", true, 3},          {"AAE=", true, 2},          {"AA==", true, 1},
        {" A A\r\nE C\t", true, 3}, {"AAE", false, 0},          {"A===", false, 0},
        {"AA=A", false, 0},         {"AAEC=", false, 3},        {"AA==AAEC", false, 1},
        {"AA.C", false, 0},         {"AAEC\xC3\xA9", false, 3},
    };
    for (const auto& c : cases) {
        std::vector<std::byte> bytes;
        classxml::value_text::Base64Decoder decoder(bytes);
        decoder.Take(c.text);
        EXPECT_EQ(decoder.Finish(), c.valid) << c.text;
        EXPECT_EQ(bytes.size(), c.bytes) << c.text;
    }
}

// A binary member is base64 in its transport form; a file that pre-read extraction rewrote
// loads the same bytes from its side file.
TEST_P(ArchiveGraphTest, BinaryMembersComeBackInlineAndFromTheirSideFiles) {
    Attachment saved;
    saved.large = RandomBytes(3 << 20);
    const classxml::testing::TempDir directory;
    const std::string file = (directory / "attachment.xml").string();
    ASSERT_TRUE(classxml::SaveToFile(file, saved, engine));
    std::string xml, otherXml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    ASSERT_TRUE(classxml::SaveToString(otherXml, saved, other));
    EXPECT_TRUE(xml == otherXml);
    EXPECT_NE(xml.find("<FileTransport varname=\"small\"><fileContent keytype=\"base64\" "
                       "varsize=\"3\">AAEC</fileContent></FileTransport><FileTransport "
                       "varname=\"empty\"><fileContent keytype=\"base64\" varsize=\"0\"/>"),
              std::string::npos)
        << xml.substr(0, 400);
    EXPECT_EQ(classxml::testing::ReadFile(file), xml);

    ASSERT_TRUE(CXMLClassReaderWriter::PreprocessReading(classxml::testing::WidePath(file), nullptr,
                                                         nullptr));
    const std::string rewritten = classxml::testing::ReadFile(file);
    EXPECT_LT(rewritten.size(), 1000u);
    for (const classxml::Engine reader : {engine, other}) {
        Attachment loaded;
        const classxml::Result result = classxml::LoadFromFile(file, loaded, reader);
        ASSERT_TRUE(result) << result.Message();
        EXPECT_TRUE(loaded.small == saved.small && loaded.empty.empty());
        EXPECT_TRUE(loaded.large == saved.large);
    }
    Attachment fromString;
    fromString.small.clear();
    const classxml::Result result = classxml::LoadFromString(xml, fromString, engine);
    ASSERT_TRUE(result) << result.Message();
    EXPECT_TRUE(fromString.small == saved.small && fromString.large == saved.large);
}

TEST_P(ArchiveGraphTest, BinaryTextThatIsNotItsBytesOrNamesAnotherFileIsRefused) {
    const classxml::testing::TempDir directory;
    const std::string side = "0123abcd-0000-4000-8000-00000000abcd.base64";
    classxml::testing::WriteFile(directory / side, "AAEC");
    classxml::testing::WriteFile(directory / "other.txt", "AAEC");
    const std::string start = "<Attachment><FileTransport varname=\"small\"><fileContent "
                              "keytype=\"base64\" varsize=\"3\">";
    const std::string end = "</fileContent></FileTransport><FileTransport varname=\"empty\">"
                            "<fileContent keytype=\"base64\"/></FileTransport><FileTransport "
                            "varname=\"large\"><fileContent keytype=\"base64\"/></FileTransport>"
                            "</Attachment>";
    const struct {
        std::string text, failure; // an empty failure: it loads
    } cases[] = {
        {"AAEC", ""},
        {"AA EC", ""},
        {"AAE", "base64 text / other text"},
        {"AAEC&amp;", "base64 text / other text"},
        {"AAECAA==", "3 bytes / 4"},
        {(directory / side).string(), ""},
        {"elsewhere/" + side, ""}, // looked up beside the document whatever folder it names
        {(directory / "other.txt").string(), "base64 text / other text"},
        {"../" + side.substr(1),
         "base64 text, or the side file pre-read extraction wrote / \"../" + side.substr(1) + "\""},
        {"1123abcd-0000-4000-8000-00000000abcd.base64",
         "the side file 1123abcd-0000-4000-8000-00000000abcd.base64 beside the document / none"},
    };
    for (const auto& c : cases) {
        const auto file = directory / "edited.xml";
        classxml::testing::WriteFile(file, start + c.text + end);
        Attachment loaded;
        loaded.small.clear();
        const classxml::Result result = classxml::LoadFromFile(file.string(), loaded, engine);
        if (c.failure.empty()) {
            EXPECT_TRUE(result) << c.text << ": " << result.Message();
            EXPECT_EQ(loaded.small.size(), 3u) << c.text;
        } else {
            EXPECT_FALSE(result) << c.text;
            EXPECT_EQ(result.expected + " / " + result.found, c.failure) << c.text;
            EXPECT_TRUE(loaded.small.empty());
        }
    }
    Attachment loaded;
    const classxml::Result result = classxml::LoadFromString(start + side + end, loaded, engine);
    EXPECT_EQ(result.expected + " / " + result.found,
              "a document loaded from a file, whose folder holds side file " + side +
                  " / a document loaded from a string");
}

} // namespace
