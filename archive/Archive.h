#pragma once

/// @file
/// Typed archives: an application type names its members once, in a `serialize` function (or in
/// `save` and `load`), and is saved to and loaded from class XML files and strings.
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
///
/// Members may be numbers, text, enums, the DB_* types, std::optional, containers (vector,
/// array, list, deque, set, unordered_set, map, unordered_map), pair, tuple, variant, bitset,
/// filesystem::path, chrono durations and system_clock time points, unique_ptr and shared_ptr
/// (sharing kept, and polymorphic bases holding registered classes: CLASSXML_REGISTER_TYPE),
/// and classes of their own; a class names its bases' members with classxml::BaseClass.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "archive/Archived.h"
#include "archive/Bitset.h"
#include "archive/Chrono.h"
#include "archive/Containers.h"
#include "archive/DocumentReader.h"
#include "archive/DocumentWriter.h"
#include "archive/LoadOptions.h"
#include "archive/Path.h"
#include "archive/Pointers.h"
#include "archive/Result.h"
#include "archive/StreamDocumentReader.h"
#include "archive/StreamDocumentWriter.h"
#include "archive/TupleLike.h"
#include "archive/TypeText.h"
#include "archive/Values.h"
#include "archive/Variant.h"

/// @ingroup archive
/// A member under its own name: `ar(CLASSXML_NVP(id))` is `ar("id", id)`. Only a plain member
/// name will do (`CLASSXML_NVP(p.name)` does not compile): name others with `ar("name", value)`.
#define CLASSXML_NVP(member)                                                                       \
    ::classxml::NameValue(::classxml::archive_detail::PlainName(#member), member)

namespace classxml {

/// @ingroup archive
/// A member and the name it is stored under; made by CLASSXML_NVP.
template <class T>
struct NameValue {
    /// `value` under `name`.
    NameValue(std::string_view name, T& value) : name(name), value(value) {}
    std::string_view name; ///< the element's name
    T& value;              ///< the member
};
/// @cond INTERNAL
template <class T>
NameValue(std::string_view, T&) -> NameValue<T>;
/// @endcond

/// @ingroup archive
/// The members of a base class, saved and loaded within the derived class's element:
/// `ar(classxml::BaseClass<Base>(this), CLASSXML_NVP(x))`.
template <class Base>
struct BaseClass {
    /// From `this` of the derived class, in serialize, save or load.
    explicit BaseClass(const Base* self) : object(const_cast<Base*>(self)) {}
    Base* object; ///< the base part of the object
};

namespace archive_detail {

// The text of CLASSXML_NVP's argument, refused at compile time unless it is one identifier.
consteval std::string_view PlainName(std::string_view name) {
    bool plain = !name.empty() && !(name[0] >= '0' && name[0] <= '9');
    for (const char c : name)
        plain = plain && ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '_');
    if (!plain)
        throw "CLASSXML_NVP takes a plain member name; name others with ar(\"name\", value)";
    return name;
}

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

// The root of a document is a class element: a class with serialize, or save and load.
template <class T>
concept RootClass = requires {
    Archived<T>::kClass;
};

} // namespace archive_detail

/// @ingroup archive
/// What a `serialize` or `save` function is given when its object is saved, by either engine
/// (its writer `W`); write them as templates of their archive, so that they serve both.
template <class W>
class BasicOutputArchive {
public:
    /// @cond INTERNAL
    static constexpr Engine kEngine = W::kEngine;
    explicit BasicOutputArchive(W& writer) : m_writer(writer) {}
    /// @endcond

    /// Writes each member under its name, and each base class's members in place.
    template <archive_detail::Part... Parts>
    BasicOutputArchive& operator()(const Parts&... parts) {
        (Take(parts), ...);
        return *this;
    }
    /// Writes one member under `name`; calls chain: `ar("a", a)("b", b)`.
    template <class T>
    BasicOutputArchive& operator()(std::string_view name, const T& value) {
        Put(name, value, 0);
        return *this;
    }

    /// @cond INTERNAL
    // A member (index 0) or the index-th item of a container. An optional member that is empty
    // is left out.
    template <class T>
    void Put(std::string_view name, const T& value, std::size_t index) {
        if constexpr (archive_detail::IsOptional<T>::value) {
            if (index == 0) {
                if (value) Put(name, *value, 0);
                return;
            }
        }
        archive_detail::Archived<T>::Save(*this, name, index, value);
    }
    W& Writer() { return m_writer; }
    archive_detail::SavedObjects& Shared() { return m_shared; }
    /// @endcond

private:
    template <class T>
    void Take(const NameValue<T>& member) {
        Put(member.name, std::as_const(member.value), 0);
    }
    template <class Base>
    void Take(const BaseClass<Base>& base) {
        archive_detail::SaveMembers(*this, *base.object);
    }

    W& m_writer;
    archive_detail::SavedObjects m_shared;
};

/// @ingroup archive
/// What a `serialize` or `load` function is given when its object is loaded, by either engine
/// (its reader `R`). Members are found by name, in any order; unknown elements are skipped; a
/// missing member is an error unless it is a std::optional.
template <class R>
class BasicInputArchive {
public:
    /// @cond INTERNAL
    static constexpr Engine kEngine = R::kEngine;
    explicit BasicInputArchive(R& reader) : m_reader(reader) {}
    /// @endcond

    /// Reads each member by its name, and each base class's members in place.
    template <archive_detail::Part... Parts>
    BasicInputArchive& operator()(const Parts&... parts) {
        (Take(parts), ...);
        return *this;
    }
    /// Reads one member by `name`; calls chain: `ar("a", a)("b", b)`.
    template <class T>
    BasicInputArchive& operator()(std::string_view name, T& value) {
        Member(name, value);
        return *this;
    }

    /// @cond INTERNAL
    // The member `name`: found, entered, read and left. An optional member is present or not.
    template <class T>
    void Member(std::string_view name, T& value) {
        using namespace archive_detail;
        if constexpr (IsOptional<T>::value) {
            using Value = typename T::value_type;
            const bool present = Archived<Value>::shape == Shape::Class
                                     ? m_reader.HasClassMember(Archived<Value>::TypeText(), name)
                                     : m_reader.HasMember(name);
            if (!present) return value.reset();
            Member(name, value.emplace());
        } else {
            const bool entered = Archived<T>::shape == Shape::Class
                                     ? m_reader.EnterClassMember(Archived<T>::TypeText(), name)
                                     : m_reader.EnterMember(name);
            if (!entered) return;
            Here(value);
            m_reader.Leave();
        }
    }
    // The value of the element the reader stands on.
    template <class T>
    void Here(T& value) {
        archive_detail::Archived<T>::Load(*this, value);
    }
    R& Reader() { return m_reader; }
    archive_detail::LoadedObjects& Shared() { return m_shared; }
    /// @endcond

private:
    template <class T>
    void Take(const NameValue<T>& member) {
        Member(member.name, member.value);
    }
    template <class Base>
    void Take(const BaseClass<Base>& base) {
        archive_detail::LoadMembers(*this, *base.object);
    }

    R& m_reader;
    archive_detail::LoadedObjects m_shared;
};

/// @ingroup archive
/// The archive a `serialize` function is given when its object is saved on the DOM engine.
using OutputArchive = BasicOutputArchive<archive_detail::DocumentWriter>;
/// @ingroup archive
/// The archive a `serialize` function is given when its object is loaded on the DOM engine.
using InputArchive = BasicInputArchive<archive_detail::DocumentReader>;

namespace archive_detail {

template <class T>
void RequireRootClass() {
    static_assert(RootClass<T>,
                  "the root of a document is a class element: save an object of a class with "
                  "serialize (or save and load), or save a container's objects one at a time "
                  "with ObjectWriter");
}

template <class Writer, class T>
Result SaveOn(Destination destination, const T& object, const DocumentType& doctype) {
    Writer writer(destination, TypeTextOf<T>(), doctype);
    BasicOutputArchive<Writer> archive(writer);
    SaveMembers(archive, object);
    return writer.Finish();
}

template <class T>
Result Save(Destination destination, const T& object, const DocumentType& doctype, Engine engine) {
    RequireRootClass<T>();
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
            LoadMembers(archive, loaded);
            reader.Finish();
            if (!reader.Failed()) object = std::move(loaded);
        } else {
            LoadMembers(archive, object);
            reader.Finish();
        }
    }
    return reader.TakeResult();
}

template <class T>
Result Load(T& object, Engine engine, auto start) {
    RequireRootClass<T>();
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
/// Loads `object` from a file, validated against the DTD it names as ReadFromFile validates,
/// the DTD looked up as `options` say (by default beside the file). A file that cannot be
/// opened is said so, with the system's reason. Nothing goes to standard error unless
/// `options` ask for it.
///@{
template <class T>
Result LoadFromFile(std::string_view path, T& object, const LoadOptions& options) {
    return archive_detail::Load(object, options.engine, [&](auto& reader, std::string_view root) {
        return reader.LoadFile(path, root, options);
    });
}
template <class T>
Result LoadFromFile(std::string_view path, T& object, Engine engine = Engine::Dom) {
    return LoadFromFile(path, object, LoadOptions{engine, {}, false});
}
///@}

/// @ingroup archive
/// Loads `object` from a document in a UTF-8 string.
///@{
template <class T>
Result LoadFromString(std::string_view xml, T& object, const LoadOptions& options) {
    return archive_detail::Load(object, options.engine, [&](auto& reader, std::string_view root) {
        return reader.LoadString(xml, root, options);
    });
}
template <class T>
Result LoadFromString(std::string_view xml, T& object, Engine engine = Engine::Dom) {
    return LoadFromString(xml, object, LoadOptions{engine, {}, false});
}
///@}

} // namespace classxml

#include "archive/DtdFor.h"
#include "archive/Objects.h"
#include "archive/Registration.h"
