#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "classxml/archive/ClassVersion.h"
#include "classxml/archive/Construct.h"
#include "classxml/archive/Engine.h"
#include "classxml/archive/Members.h"
#include "classxml/archive/TypeText.h"
#include "classxml/archive/detail/ClassNames.h"
#include "classxml/archive/detail/SharedObjects.h"

// How a type is archived: the shape of its element, its type text, and how it is saved and
// loaded. The primary template takes classes (a serialize function, or save and load); each
// family of standard types specialises Archived in a header of its own under archive/types/.
//
// A specialisation gives
//   static constexpr Shape shape;
//   static std::string_view TypeText();  the element name of a class, the keytype of a value,
//                                        the kind of a sequence
//   template <class Out> static void Save(Out& ar, std::string_view name, std::size_t index,
//                                         const T& value);   the element, whole
//   template <class In> static void Load(In& ar, T& value);  from the element entered
//   template <class Dtd> static std::string Describe(Dtd& dtd, std::string_view name);
//                                        declares the element; gives its name
// where `index` is 0 for a member, and an item's place in its container from 1. A type that is
// archived otherwise as a member than as an item (std::optional, absent when empty) gives
//   template <class Out> static void SaveMember(Out& ar, std::string_view name, const T& value);
//   template <class In> static void LoadMember(In& ar, std::string_view name, T& value);
//   template <class Dtd> static Particle DescribeMember(Dtd& dtd, std::string_view name);

namespace classxml::archive_detail {

enum class Shape {
    Value,    // a property element named as the member, keytype its type text
    Class,    // a class element named by its type text, with varname when it is a member
    Sequence, // a container element named as the member: keytype its kind, varkeytype the items'
    Map,      // a map element: keytype "map", varkeytype the keys' type, vartype the values'
};

template <class T, class Enable = void>
struct Archived;

// A type archived otherwise as a member than as an item (see above).
template <class T>
concept HasMemberForm = requires {
    requires Archived<T>::kMemberForm;
};

// What an archive is given between its parentheses: members by name, and base classes.
template <class T>
struct IsNameValue : std::false_type {};
template <class T>
struct IsNameValue<NameValue<T>> : std::true_type {};
template <class T>
struct IsBaseClass : std::false_type {};
template <class T>
struct IsBaseClass<BaseClass<T>> : std::true_type {};
template <class T>
struct IsMemberRules : std::false_type {};
template <class T, std::size_t N>
struct IsMemberRules<MemberRules<T, N>> : std::true_type {};
template <class T>
concept Part = IsNameValue<T>::value || IsBaseClass<T>::value || IsMemberRules<T>::value;

// ---- Classes ------------------------------------------------------------------------------

// A class's save, load or serialize function, member or free, given the class version or not.
template <class T, class Archive>
concept MemberSerialize = requires(T& value, Archive& archive) {
    value.serialize(archive);
};
template <class T, class Archive>
concept FreeSerialize = requires(T& value, Archive& archive) {
    serialize(archive, value);
};
template <class T, class Archive>
concept MemberSave = requires(const T& value, Archive& archive) {
    value.save(archive);
};
template <class T, class Archive>
concept FreeSave = requires(const T& value, Archive& archive) {
    save(archive, value);
};
template <class T, class Archive>
concept MemberLoad = requires(T& value, Archive& archive) {
    value.load(archive);
};
template <class T, class Archive>
concept FreeLoad = requires(T& value, Archive& archive) {
    load(archive, value);
};
template <class T, class Archive>
concept MemberSerializeV = requires(T& value, Archive& archive, std::uint32_t version) {
    value.serialize(archive, version);
};
template <class T, class Archive>
concept FreeSerializeV = requires(T& value, Archive& archive, std::uint32_t version) {
    serialize(archive, value, version);
};
template <class T, class Archive>
concept MemberSaveV = requires(const T& value, Archive& archive, std::uint32_t version) {
    value.save(archive, version);
};
template <class T, class Archive>
concept FreeSaveV = requires(const T& value, Archive& archive, std::uint32_t version) {
    save(archive, value, version);
};
template <class T, class Archive>
concept MemberLoadV = requires(T& value, Archive& archive, std::uint32_t version) {
    value.load(archive, version);
};
template <class T, class Archive>
concept FreeLoadV = requires(T& value, Archive& archive, std::uint32_t version) {
    load(archive, value, version);
};

// A type without a default constructor built from what it reads (Construct.h), by a static
// member or a free function.
template <class T, class Archive>
concept MemberLoadAndConstruct = requires(Archive& archive, Construct<T>& construct) {
    T::load_and_construct(archive, construct);
};
template <class T, class Archive>
concept FreeLoadAndConstruct = requires(Archive& archive, Construct<T>& construct) {
    load_and_construct(archive, construct);
};
template <class T, class Archive>
concept LoadAndConstruct = MemberLoadAndConstruct<T, Archive> || FreeLoadAndConstruct<T, Archive>;

template <class T, class Archive>
void CallLoadAndConstruct(Archive& archive, Construct<T>& construct) {
    if constexpr (MemberLoadAndConstruct<T, Archive>)
        T::load_and_construct(archive, construct);
    else
        load_and_construct(archive, construct);
}

// The members of a class through its save (or serialize) function, at `version` of the class
// (the program's own unless a DTD is made for an older one).
template <class Archive, class T>
void SaveMembers(Archive& archive, const T& value, std::uint32_t version = ClassVersion<T>::value) {
    auto& object = const_cast<T&>(value);
    if constexpr (MemberSaveV<T, Archive>)
        value.save(archive, version);
    else if constexpr (FreeSaveV<T, Archive>)
        save(archive, value, version);
    else if constexpr (MemberSave<T, Archive>)
        value.save(archive);
    else if constexpr (FreeSave<T, Archive>)
        save(archive, value);
    else if constexpr (MemberSerializeV<T, Archive>)
        object.serialize(archive, version);
    else if constexpr (FreeSerializeV<T, Archive>)
        serialize(archive, object, version);
    else if constexpr (MemberSerialize<T, Archive>)
        object.serialize(archive);
    else if constexpr (FreeSerialize<T, Archive>)
        serialize(archive, object);
    else
        static_assert(sizeof(T) == 0,
                      "the archive does not know this type: give it a serialize function, or "
                      "save and load functions (members or free), or specialise Archived");
}

// The members of a class through its load (or serialize) function, at the file's `version`.
template <class Archive, class T>
void LoadMembers(Archive& archive, T& value, std::uint32_t version = ClassVersion<T>::value) {
    if constexpr (MemberLoadV<T, Archive>)
        value.load(archive, version);
    else if constexpr (FreeLoadV<T, Archive>)
        load(archive, value, version);
    else if constexpr (MemberLoad<T, Archive>)
        value.load(archive);
    else if constexpr (FreeLoad<T, Archive>)
        load(archive, value);
    else if constexpr (MemberSerializeV<T, Archive>)
        value.serialize(archive, version);
    else if constexpr (FreeSerializeV<T, Archive>)
        serialize(archive, value, version);
    else if constexpr (MemberSerialize<T, Archive>)
        value.serialize(archive);
    else if constexpr (FreeSerialize<T, Archive>)
        serialize(archive, value);
    else
        static_assert(sizeof(T) == 0,
                      "the archive does not know this type: give it a serialize function, or "
                      "save and load functions (members or free), or specialise Archived");
}

// The attribute a class element of a class above version 0 carries its version in.
inline constexpr std::string_view kVersion = "varversion";

// The version of a class element being loaded: 0 without the attribute; false (and the
// reader failed) when it is malformed or newer than the program's.
template <class T, class Reader>
bool FileVersion(Reader& reader, std::uint32_t& version) {
    return reader.ClassVersion(reader.Attribute(kVersion), ClassVersion<T>::value, TypeTextOf<T>(),
                               version);
}

// Plain pointers and the objects they point to stand outside the objects load_and_construct
// builds, whose members move into them where no load can follow.
inline constexpr const char* kOutsideConstructed =
    "plain pointers and what they point to outside objects that load_and_construct builds";

// An object of class T as plain pointers may point to it.
template <class T>
LoadedObjects::Target TargetOf(T& value) {
    const PolymorphicType* registered = nullptr;
    if constexpr (std::is_polymorphic_v<T>) registered = PolymorphicTypeOf(typeid(T));
    return {&value, &typeid(T), registered, TypeTextOf<T>()};
}

// A class element that plain pointers point to carries its number: the object loaded from it is
// noted under that number, for the pointers to be set once the load is done. Programs that
// archive no plain pointers do not look.
template <class In, class T>
void NoteIfPointedTo(In& ar, T& value) {
    if (!PlainPointersUsed()) return;
    auto& reader = ar.Reader();
    const std::optional<std::string> id = reader.Attribute(kId);
    if (!id) return;
    if (ar.Shared().constructing)
        return (void)reader.Fail(kOutsideConstructed, "one inside such an object");
    if (!ar.Shared().NoteTarget(*id, TargetOf(value)))
        reader.Fail("a varid of its own", "a repeated one");
}

template <class T, class Enable>
struct Archived {
    static constexpr Shape shape = Shape::Class;
    static constexpr bool kClass = true; // a class of the application's
    static std::string_view TypeText() { return TypeTextOf<T>(); }
    // Taken as the program starts, so that two types of one name are known before any save.
    static inline const ClassName& kName = TakeClassName(TypeTextOf<T>(), typeid(T));

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index, const T& value) {
        const std::string_view variable = index ? std::string_view() : name;
        if (kName.shared.load(std::memory_order_relaxed))
            if (const std::type_info* other = ar.Shared().OtherType(TypeText(), typeid(T)))
                return ar.Writer().Refuse(
                    name, "one class named \"" + std::string(TypeText()) + "\" in a document",
                    BothTypes(*other, typeid(T)));
        std::string number; // when plain pointers point to it
        if (!ar.Shared().targets.empty())
            if (const std::uint64_t id = ar.Shared().Written({&value, typeid(T)})) {
                if (ar.Shared().constructed)
                    return ar.Writer().Refuse(name, kOutsideConstructed,
                                              "one inside such an object");
                number = std::to_string(id);
            }
        const std::pair<std::string_view, std::string_view> numbered =
            number.empty() ? std::pair<std::string_view, std::string_view>()
                           : std::pair{kId, std::string_view(number)};
        if constexpr (ClassVersion<T>::value == 0) {
            ar.Writer().BeginClass(TypeText(), variable, index, numbered);
        } else {
            static const std::string version = std::to_string(ClassVersion<T>::value);
            ar.Writer().BeginClass(TypeText(), variable, index, {kVersion, version}, numbered);
        }
        SaveMembers(ar, value);
        ar.Writer().End();
    }
    template <class In>
    static void Load(In& ar, T& value) {
        std::uint32_t version = 0;
        if (!ar.Reader().IsClass(TypeText()) || !FileVersion<T>(ar.Reader(), version)) return;
        NoteIfPointedTo(ar, value);
        LoadMembers(ar, value, version);
    }
    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view) {
        const std::string element(TypeText());
        if (!dtd.Declarations().Described(element, typeid(T))) {
            if constexpr (ClassVersion<T>::value == 0)
                dtd.Declarations().Declare(element, dtd.template MembersOf<T>(), {"varname"});
            else
                dtd.Declarations().Declare(element, dtd.template MembersOf<T>(),
                                           {"varname", kVersion});
        }
        return element;
    }
};

// The type text of a container's items, keys or values: a nested container by its kind.
template <class T>
std::string_view ItemTypeText() {
    if constexpr (Archived<T>::shape == Shape::Map)
        return "map";
    else
        return Archived<T>::TypeText();
}

} // namespace classxml::archive_detail
