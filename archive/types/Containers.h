#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <deque>
#include <list>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/detail/SharedObjects.h"

// Sequences and maps, as the handle writes containers: a container element (keytype "vector",
// "list" or "set", varkeytype the items' type) holding one element per item, named "item" (a
// class item by its type); a map element (keytype "map", varkeytype and vartype) holding a "key"
// and a "value" element per entry. A deque is a list, an unordered set a set, an array a vector
// of exactly its size, an unordered map a map.
namespace classxml::archive_detail {

template <class T>
struct SequenceKind;
template <class T, class A>
struct SequenceKind<std::vector<T, A>> {
    static constexpr std::string_view value = "vector";
};
template <class T, std::size_t N>
struct SequenceKind<std::array<T, N>> {
    static constexpr std::string_view value = "vector";
};
template <class T, class A>
struct SequenceKind<std::list<T, A>> {
    static constexpr std::string_view value = "list";
};
template <class T, class A>
struct SequenceKind<std::deque<T, A>> {
    static constexpr std::string_view value = "list";
};
template <class T, class C, class A>
struct SequenceKind<std::set<T, C, A>> {
    static constexpr std::string_view value = "set";
};
template <class T, class H, class E, class A>
struct SequenceKind<std::unordered_set<T, H, E, A>> {
    static constexpr std::string_view value = "set";
};

template <class T>
concept Sequence = requires {
    SequenceKind<T>::value;
};
template <class T>
concept SetLike = Sequence<T> && requires(T& set, typename T::value_type item) {
    set.insert(std::move(item)).second;
};
template <class T>
struct IsVector : std::false_type {};
template <class T, class A>
struct IsVector<std::vector<T, A>> : std::true_type {};
template <class T>
struct FixedSize : std::false_type {};
template <class T, std::size_t N>
struct FixedSize<std::array<T, N>> : std::true_type {};

template <class T>
struct IsMap : std::false_type {};
template <class K, class V, class C, class A>
struct IsMap<std::map<K, V, C, A>> : std::true_type {};
template <class K, class V, class H, class E, class A>
struct IsMap<std::unordered_map<K, V, H, E, A>> : std::true_type {};
template <class T>
concept MapLike = IsMap<T>::value;

template <Sequence T>
struct Archived<T> {
    using Item = typename T::value_type;
    static constexpr Shape shape = Shape::Sequence;
    static std::string_view TypeText() { return SequenceKind<T>::value; }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index, const T& items) {
        ar.Writer().BeginSequence(name, TypeText(), ItemTypeText<Item>(), index);
        std::size_t place = 0;
        for (const Item& item : items)
            ar.Put("item", item, ++place);
        ar.Writer().End();
    }

    // Into a fresh container, which replaces the member only when all of it was read.
    template <class In>
    static void Load(In& ar, T& value) {
        auto& reader = ar.Reader();
        if (!reader.IsContainer(TypeText(), ItemTypeText<Item>())) return;
        T items{};
        std::size_t count = 0;
        for (bool more = reader.FirstItem(); more; more = reader.NextItem(), ++count) {
            if constexpr (FixedSize<T>::value) {
                if (count == items.size()) return (void)reader.Fail(Count(items), "more");
                ar.Here(items[count]);
            } else {
                Item item{};
                ar.Here(item);
                if constexpr (SetLike<T>) {
                    const auto [at, inserted] = items.insert(std::move(item));
                    if (!inserted) return (void)reader.Fail("a key of its own", "a repeated one");
                    ar.Shared().Moved(&item, &*at, sizeof(Item));
                } else {
                    Append(ar.Shared(), items, item);
                }
            }
        }
        if constexpr (FixedSize<T>::value)
            if (!reader.Failed() && count != items.size())
                return (void)reader.Fail(Count(items), std::to_string(count));
        if (reader.Failed()) return;
        value = std::move(items);
        ar.Shared().Moved(&items, &value, sizeof(T));
    }

    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view name) {
        const std::string item = dtd.template Element<Item>("item");
        dtd.Declarations().Declare(name, "(" + item + ")*", {"keytype", "varkeytype"});
        return std::string(name);
    }

private:
    static std::string Count(const T& items) { return std::to_string(items.size()) + " items"; }

    // Moves a loaded item to the end of the container. While pointers wait inside items (for
    // objects written further on), a vector grows by moving its items itself, so that they are
    // followed to their new places.
    static void Append(LoadedObjects& loaded, T& items, Item& item) {
        if constexpr (std::is_class_v<Item>) {
            if (loaded.Following()) {
                if constexpr (IsVector<T>::value)
                    if (items.size() == items.capacity()) {
                        T grown;
                        grown.reserve(std::max<std::size_t>(8, 2 * items.size()));
                        for (Item& moving : items) {
                            grown.push_back(std::move(moving));
                            loaded.Moved(&moving, &grown.back(), sizeof(Item));
                        }
                        items.swap(grown);
                    }
                items.push_back(std::move(item));
                return loaded.Moved(&item, &items.back(), sizeof(Item));
            }
        }
        items.push_back(std::move(item));
    }
};

template <MapLike T>
struct Archived<T> {
    using Key = typename T::key_type;
    using Mapped = typename T::mapped_type;
    static constexpr Shape shape = Shape::Map;
    static std::string_view TypeText() { return "map"; }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index, const T& entries) {
        ar.Writer().BeginMap(name, ItemTypeText<Key>(), ItemTypeText<Mapped>(), index);
        std::size_t place = 0;
        for (const auto& [key, mapped] : entries) {
            ar.Put("key", key, ++place);
            ar.Put("value", mapped, ++place);
        }
        ar.Writer().End();
    }

    template <class In>
    static void Load(In& ar, T& value) {
        auto& reader = ar.Reader();
        if (!reader.IsContainer("map", ItemTypeText<Key>(), ItemTypeText<Mapped>())) return;
        T entries{};
        for (bool more = reader.FirstItem(); more; more = reader.NextItem()) {
            Key key{};
            ar.Here(key);
            if (!reader.NextItem()) return (void)reader.Fail("a value after each key", "none");
            Mapped mapped{};
            ar.Here(mapped);
            const auto [at, inserted] = entries.emplace(std::move(key), std::move(mapped));
            if (!inserted) return (void)reader.Fail("a key of its own", "a repeated one");
            ar.Shared().Moved(&key, &at->first, sizeof(Key));
            ar.Shared().Moved(&mapped, &at->second, sizeof(Mapped));
        }
        if (reader.Failed()) return;
        value = std::move(entries);
        ar.Shared().Moved(&entries, &value, sizeof(T));
    }

    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view name) {
        const std::string key = dtd.template Element<Key>("key");
        const std::string mapped = dtd.template Element<Mapped>("value");
        dtd.Declarations().Declare(name, "(" + key + ", " + mapped + ")*",
                                   {"keytype", "varkeytype", "vartype"});
        return std::string(name);
    }
};

} // namespace classxml::archive_detail
