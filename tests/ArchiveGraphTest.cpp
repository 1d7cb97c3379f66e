// Object graphs beyond plain members, on both engines: types built from what they read, types
// that are really one value, and the same bytes from both engines for each.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "classxml/archive/Archive.h"
#include "support/ArchiveEngines.h"
#include "support/TempDir.h"

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

class ArchiveGraphTest : public classxml::testing::ArchiveEngineTest {};

CLASSXML_ON_BOTH_ENGINES(ArchiveGraphTest);

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

} // namespace
