#pragma once

/// @file
/// Typed archives: an application type names its members once, in a `serialize` function, and
/// is saved to and loaded from class XML files and strings.
///
///     struct Sensor {
///         std::string name;
///         std::vector<double> readings;
///         template <class Archive> void serialize(Archive& ar) {
///             ar(CLASSXML_NVP(name), CLASSXML_NVP(readings));
///         }
///     };
///     classxml::Result saved = classxml::SaveToFile("sensor.xml", sensor);
///     classxml::Result loaded = classxml::LoadFromFile("sensor.xml", sensor);

#include <charconv>
#include <cmath>
#include <cstddef>
#include <deque>
#include <limits>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "archive/DocumentReader.h"
#include "archive/DocumentWriter.h"
#include "archive/Result.h"
#include "archive/StreamDocumentReader.h"
#include "archive/StreamDocumentWriter.h"
#include "archive/TypeText.h"

/// @ingroup archive
/// A member under its own name: `ar(CLASSXML_NVP(id))` is `ar("id", id)`.
#define CLASSXML_NVP(member) ::classxml::NameValue(#member, member)

namespace classxml {

/// @ingroup archive
/// The engine a save or load runs on. Both write and read the same documents. The DOM engine
/// builds the whole document through the handle and finds members by name in any order. The
/// stream engine never holds the document: it writes each element as it comes and reads the
/// document as it streams past, in the memory of one element whatever the document's size, and
/// matches members in document order (an optional member is present only when it is the next
/// element).
enum class Engine { Dom, Stream };

/// @ingroup archive
/// A member and the name it is stored under; made by CLASSXML_NVP.
template <class T>
struct NameValue {
    std::string_view name; ///< the element's name
    T& value;              ///< the member
};
/// @cond INTERNAL
template <class T>
NameValue(std::string_view, T&) -> NameValue<T>;
/// @endcond

namespace archive_detail {

template <class T>
struct SequenceKind {
    static constexpr std::string_view value{};
};
template <class T>
struct SequenceKind<std::vector<T>> {
    static constexpr std::string_view value = "vector";
};
template <class T>
struct SequenceKind<std::list<T>> {
    static constexpr std::string_view value = "list";
};
// A deque is written as a list, as the handle writes it.
template <class T>
struct SequenceKind<std::deque<T>> {
    static constexpr std::string_view value = "list";
};
template <class T>
struct SequenceKind<std::set<T>> {
    static constexpr std::string_view value = "set";
};

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};
template <class T>
struct IsMap : std::false_type {};
template <class K, class V>
struct IsMap<std::map<K, V>> : std::true_type {};

template <class T>
concept Sequence = !SequenceKind<T>::value.empty();
template <class T>
concept Map = IsMap<T>::value;
template <class T, class Archive>
concept MemberSerialize = requires(T& value, Archive& archive) {
    value.serialize(archive);
};
template <class T, class Archive>
concept FreeSerialize = requires(T& value, Archive& archive) {
    serialize(archive, value);
};

// The type text of a container's items: a nested container by its kind.
template <class T>
std::string_view ItemTypeText() {
    if constexpr (Sequence<T>)
        return SequenceKind<T>::value;
    else if constexpr (Map<T>)
        return "map";
    else
        return TypeTextOf<T>();
}

// The number family an integer or enum is written in.
template <class T>
auto AsNumber(T value) {
    if constexpr (std::is_enum_v<T>)
        return AsNumber(static_cast<std::underlying_type_t<T>>(value));
    else if constexpr (std::same_as<T, bool>)
        return value;
    else if constexpr (std::floating_point<T>)
        return double(value);
    else if constexpr (std::signed_integral<T>)
        return std::conditional_t<sizeof(T) <= 4, std::int32_t, std::int64_t>(value);
    else
        return std::conditional_t<sizeof(T) <= 4, std::uint32_t, std::uint64_t>(value);
}

// Whether a number read in its family's width fits the member's own type: an integer exactly,
// a floating value within its range (rounding to a float's precision is no error).
template <class T, class Number>
bool Fits(Number number) {
    if constexpr (std::floating_point<T>)
        return !std::isfinite(number) || std::fabs(number) <= double(std::numeric_limits<T>::max());
    else
        return AsNumber(static_cast<T>(number)) == number;
}

template <class Number>
std::string ToText(Number number) {
    if constexpr (std::floating_point<Number>) {
        char text[32];
        const auto end = std::to_chars(text, text + sizeof text, number).ptr;
        return std::string(text, end);
    } else {
        return std::to_string(number);
    }
}

template <class Archive, class T>
void Serialize(Archive& archive, T& value) {
    if constexpr (MemberSerialize<T, Archive>)
        value.serialize(archive);
    else
        serialize(archive, value);
}

} // namespace archive_detail

/// @ingroup archive
/// What a `serialize` function is given when its object is saved, by either engine (`Writer`);
/// write `serialize` as a template of its archive, so that it serves both.
template <class Writer>
class BasicOutputArchive {
public:
    /// @cond INTERNAL
    explicit BasicOutputArchive(Writer& writer) : m_writer(writer) {}
    /// @endcond

    /// Writes each member under its name.
    template <class... T>
    BasicOutputArchive& operator()(NameValue<T>... members) {
        (Put(members.name, std::as_const(members.value), 0), ...);
        return *this;
    }
    /// Writes one member under `name`; calls chain: `ar("a", a)("b", b)`.
    template <class T>
    BasicOutputArchive& operator()(std::string_view name, const T& value) {
        Put(name, value, 0);
        return *this;
    }

    /// @cond INTERNAL
    // Writes the members of an object whose class element the writer stands in.
    template <class T>
    void Members(const T& object) {
        archive_detail::Serialize(*this, const_cast<T&>(object));
    }
    /// @endcond

private:
    // A member (index 0) or the index-th item of a container; `name` is the element's name
    // unless the value is a class, whose element is named by its type.
    template <class T>
    void Put(std::string_view name, const T& value, std::size_t index) {
        using namespace archive_detail;
        if constexpr (IsOptional<T>::value) {
            if (value) Put(name, *value, index);
        } else if constexpr (Sequence<T>) {
            m_writer.BeginSequence(name, SequenceKind<T>::value,
                                   ItemTypeText<typename T::value_type>(), index);
            std::size_t item = 0;
            for (const auto& element : value)
                Put("item", element, ++item);
            m_writer.End();
        } else if constexpr (Map<T>) {
            m_writer.BeginMap(name, ItemTypeText<typename T::key_type>(),
                              ItemTypeText<typename T::mapped_type>(), index);
            std::size_t item = 0;
            for (const auto& [key, mapped] : value) {
                Put("key", key, ++item);
                Put("value", mapped, ++item);
            }
            m_writer.End();
        } else if constexpr (MemberSerialize<T, BasicOutputArchive> ||
                             FreeSerialize<T, BasicOutputArchive>) {
            m_writer.BeginClass(TypeTextOf<T>(), index ? std::string_view() : name, index);
            Serialize(*this, const_cast<T&>(value));
            m_writer.End();
        } else {
            PutValue(name, value);
        }
    }

    template <class T>
    void PutValue(std::string_view name, const T& value) {
        using namespace archive_detail;
        const std::string_view type = TypeTextOf<T>();
        if constexpr (HasEnumNames<T>) {
            for (const auto& [enumerator, text] : EnumNames<T>::names)
                if (enumerator == value) return m_writer.WriteEnumerator(name, type, text);
            m_writer.Refuse(name, "an enumerator of " + std::string(type),
                            std::to_string(static_cast<long long>(value)));
        } else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
            m_writer.Write(name, type, AsNumber(value));
        } else {
            m_writer.Write(name, type, value);
        }
    }

    Writer& m_writer;
};

/// @ingroup archive
/// The archive a `serialize` function is given when its object is saved on the DOM engine.
using OutputArchive = BasicOutputArchive<archive_detail::DocumentWriter>;

/// @ingroup archive
/// What a `serialize` function is given when its object is loaded, by either engine (`Reader`).
/// Members are found by name (on the stream engine, in document order); unknown elements are
/// skipped; a missing member is an error unless it is a std::optional.
template <class Reader>
class BasicInputArchive {
public:
    /// @cond INTERNAL
    explicit BasicInputArchive(Reader& reader) : m_reader(reader) {}
    /// @endcond

    /// Reads each member by its name.
    template <class... T>
    BasicInputArchive& operator()(NameValue<T>... members) {
        (Member(members.name, members.value), ...);
        return *this;
    }
    /// Reads one member by `name`; calls chain: `ar("a", a)("b", b)`.
    template <class T>
    BasicInputArchive& operator()(std::string_view name, T& value) {
        Member(name, value);
        return *this;
    }

    /// @cond INTERNAL
    // Reads the members of an object whose class element the reader stands on.
    template <class T>
    void Members(T& object) {
        archive_detail::Serialize(*this, object);
    }
    /// @endcond

private:
    template <class T>
    static constexpr bool kClass = archive_detail::MemberSerialize<T, BasicInputArchive> ||
                                   archive_detail::FreeSerialize<T, BasicInputArchive>;

    template <class T>
    void Member(std::string_view name, T& value) {
        if constexpr (archive_detail::IsOptional<T>::value) {
            using Value = typename T::value_type;
            const bool present =
                kClass<Value> ? m_reader.HasClassMember(archive_detail::TypeTextOf<Value>(), name)
                              : m_reader.HasMember(name);
            if (!present) return value.reset();
            Member(name, value.emplace());
        } else {
            const bool entered =
                kClass<T> ? m_reader.EnterClassMember(archive_detail::TypeTextOf<T>(), name)
                          : m_reader.EnterMember(name);
            if (!entered) return;
            Here(value);
            m_reader.Leave();
        }
    }

    // The value of the element the reader stands on.
    template <class T>
    void Here(T& value) {
        using namespace archive_detail;
        if constexpr (Sequence<T>) {
            using Item = typename T::value_type;
            if (!m_reader.IsContainer(SequenceKind<T>::value, ItemTypeText<Item>())) return;
            T items;
            for (bool more = m_reader.FirstItem(); more; more = m_reader.NextItem()) {
                Item item{};
                Here(item);
                if constexpr (std::same_as<T, std::set<Item>>) {
                    if (!items.insert(std::move(item)).second)
                        return (void)m_reader.Fail("a key of its own", "a repeated one");
                } else {
                    items.push_back(std::move(item));
                }
            }
            if (!m_reader.Failed()) value = std::move(items);
        } else if constexpr (Map<T>) {
            using Key = typename T::key_type;
            using Mapped = typename T::mapped_type;
            if (!m_reader.IsContainer("map", ItemTypeText<Key>(), ItemTypeText<Mapped>())) return;
            T entries;
            for (bool more = m_reader.FirstItem(); more; more = m_reader.NextItem()) {
                Key key{};
                Here(key);
                if (!m_reader.NextItem())
                    return (void)m_reader.Fail("a value after each key", "none");
                Mapped mapped{};
                Here(mapped);
                if (!entries.emplace(std::move(key), std::move(mapped)).second)
                    return (void)m_reader.Fail("a key of its own", "a repeated one");
            }
            if (!m_reader.Failed()) value = std::move(entries);
        } else if constexpr (kClass<T>) {
            if (m_reader.IsClass(TypeTextOf<T>())) Serialize(*this, value);
        } else {
            HereValue(value);
        }
    }

    template <class T>
    void HereValue(T& value) {
        using namespace archive_detail;
        const std::string_view type = TypeTextOf<T>();
        if constexpr (HasEnumNames<T>) {
            std::string text;
            if (!m_reader.Read(type, text)) return;
            for (const auto& [enumerator, name] : EnumNames<T>::names)
                if (name == text) return (void)(value = enumerator);
            m_reader.Fail("an enumerator of " + std::string(type), '"' + text + '"');
        } else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
            decltype(AsNumber(value)) number{};
            if (!m_reader.Read(type, number)) return;
            if (!Fits<T>(number)) return (void)m_reader.Fail(std::string(type), ToText(number));
            value = static_cast<T>(number);
        } else {
            m_reader.Read(type, value);
        }
    }

    Reader& m_reader;
};

/// @ingroup archive
/// The archive a `serialize` function is given when its object is loaded on the DOM engine.
using InputArchive = BasicInputArchive<archive_detail::DocumentReader>;

namespace archive_detail {

template <class Writer, class T>
Result SaveOn(Destination destination, const T& object, const DocumentType& doctype) {
    Writer writer(destination, TypeTextOf<T>(), doctype);
    BasicOutputArchive<Writer> archive(writer);
    archive.Members(object);
    return writer.Finish();
}

template <class T>
Result Save(Destination destination, const T& object, const DocumentType& doctype, Engine engine) {
    return engine == Engine::Stream ? SaveOn<StreamDocumentWriter>(destination, object, doctype)
                                    : SaveOn<DocumentWriter>(destination, object, doctype);
}

// Loads into a fresh object and moves it over `object` only when the whole document was read
// and accepted: a failed load leaves the object as it was.
template <class Reader, class T>
Result LoadOn(T& object, auto start) {
    Reader reader;
    if (start(reader, TypeTextOf<T>())) {
        BasicInputArchive<Reader> archive(reader);
        if constexpr (std::is_default_constructible_v<T> && std::is_move_assignable_v<T>) {
            T loaded{};
            archive.Members(loaded);
            reader.Finish();
            if (!reader.Failed()) object = std::move(loaded);
        } else {
            archive.Members(object);
            reader.Finish();
        }
    }
    return reader.TakeResult();
}

template <class T>
Result Load(T& object, Engine engine, auto start) {
    return engine == Engine::Stream ? LoadOn<StreamDocumentReader>(object, start)
                                    : LoadOn<DocumentReader>(object, start);
}

} // namespace archive_detail

/// @ingroup archive
/// Saves `object` as a class XML document whose root element is its class element; the file
/// is replaced in one step, as the handle's saves are.
///@{
template <class T>
Result SaveToFile(std::string_view path, const T& object, const DocumentType& doctype = {},
                  Engine engine = Engine::Dom) {
    return archive_detail::Save({path}, object, doctype, engine);
}
template <class T>
Result SaveToFile(std::string_view path, const T& object, Engine engine) {
    return archive_detail::Save({path}, object, {}, engine);
}
///@}

/// @ingroup archive
/// Saves `object` into `xml`, UTF-8 with an XML declaration.
///@{
template <class T>
Result SaveToString(std::string& xml, const T& object, const DocumentType& doctype = {},
                    Engine engine = Engine::Dom) {
    return archive_detail::Save({{}, &xml}, object, doctype, engine);
}
template <class T>
Result SaveToString(std::string& xml, const T& object, Engine engine) {
    return archive_detail::Save({{}, &xml}, object, {}, engine);
}
///@}

/// @ingroup archive
/// Loads `object` from a file, validated against its DTD as ReadFromFile validates.
template <class T>
Result LoadFromFile(std::string_view path, T& object, Engine engine = Engine::Dom) {
    return archive_detail::Load(object, engine, [&](auto& reader, std::string_view root) {
        return reader.LoadFile(path, root);
    });
}

/// @ingroup archive
/// Loads `object` from a document in a UTF-8 string.
template <class T>
Result LoadFromString(std::string_view xml, T& object, Engine engine = Engine::Dom) {
    return archive_detail::Load(object, engine, [&](auto& reader, std::string_view root) {
        return reader.LoadString(xml, root);
    });
}

} // namespace classxml

#include "archive/Objects.h"
