#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <unordered_map>
#include <vector>

#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/detail/Dtd.h"
#include "classxml/archive/detail/Polymorphic.h"
#include "classxml/archive/detail/SharedObjects.h"

// Pointers, as the class element "pointer" holding what it points to as its one item (a class
// by its element, named by its type; a value as "item"), and nothing for a null pointer. Objects
// that several shared_ptrs share are saved once: the first pointer carries "varid", the others
// only "varref" with the same number, and they come back as one object shared the same way,
// rings included (an object is known by its number before its contents load). A
// pointer to a polymorphic base holding another class holds that class's element: its type must
// be registered (CLASSXML_REGISTER_TYPE), on saving and on loading.
//
// A pointer that stands kDeepestPointer elements deep holds nothing but "varref": its object is
// written further on, once the object being saved is done, as a "deferred" child of the
// document's root named by its number. So no structure nests deeper than that, whatever its
// depth, and neither saving nor loading recurses in proportion to it: the deferred objects are
// written and loaded one after another, each deferring what lies deeper in turn.
namespace classxml::archive_detail {

// The element a deferred pointee is written in, a child of the document's root named by the
// pointee's number.
inline constexpr std::string_view kDeferred = "deferred";
// How many elements may be open around a pointer before its object is deferred: well inside
// the parser's limit of 256, with room for the classes and containers between two pointers.
inline constexpr std::size_t kDeepestPointer = 64;

// The registered types derived from T, which a pointer to T may hold.
template <class T>
std::vector<const PolymorphicType*> TypesDerivedFrom() {
    std::vector<const PolymorphicType*> derived;
    if constexpr (std::is_polymorphic_v<T>)
        for (const PolymorphicType* type : PolymorphicTypes()) {
            void* object = type->create();
            if (BaseOf<T>(*type, object)) derived.push_back(type);
            type->destroy(object);
        }
    return derived;
}

template <class Pointer, class T, bool kShared>
struct ArchivedPointer {
    static constexpr Shape shape = Shape::Class;
    static std::string_view TypeText() { return TypeTextOr<Pointer>("pointer"); }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index, const Pointer& pointer) {
        auto& writer = ar.Writer();
        const std::string_view variable = index ? std::string_view() : name;
        if (!pointer) {
            writer.BeginClass(TypeText(), variable, index);
            return writer.End();
        }
        SavedObjects& saved = ar.Shared();
        std::uint64_t id = 0;
        if constexpr (kShared) {
            const auto [entry, first] = saved.ids.try_emplace(WholeObject(pointer.get()), 0);
            if (!first) return Reference(writer, variable, index, entry->second);
            id = entry->second = ++saved.lastId;
        }
        if (writer.Depth() >= kDeepestPointer && saved.constructed == 0) {
            if (!id) id = ++saved.lastId;
            Reference(writer, variable, index, id);
            return ar.Defer(id, pointer.get(),
                            [](Out& out, std::uint64_t number, const void* object) {
                                out.Writer().BeginClass(kDeferred, std::to_string(number));
                                SaveObject(out, *static_cast<const T*>(object));
                                out.Writer().End();
                            });
        }
        const std::string text = id ? std::to_string(id) : std::string();
        writer.BeginClass(TypeText(), variable, index,
                          id ? std::pair{kId, std::string_view(text)}
                             : std::pair<std::string_view, std::string_view>());
        SaveObject(ar, *pointer);
        writer.End();
    }

    template <class In>
    static void Load(In& ar, Pointer& pointer) {
        LoadInto(ar, pointer);
    }
    // Loads into `slot` the pointer or a weak_ptr, which holds what a shared_ptr would.
    template <class In, class Slot>
    static void LoadInto(In& ar, Slot& slot) {
        auto& reader = ar.Reader();
        if (!reader.IsClass(TypeText())) return;
        if (const auto reference = reader.Attribute(kReference)) {
            if constexpr (kShared)
                if (ar.Shared().byId.count(*reference))
                    return Resolve<In, Slot>(&ar, *reference, &slot, false);
            return Await(ar, *reference, slot);
        }
        std::optional<std::string> id;
        if constexpr (kShared) id = reader.Attribute(kId);
        if (!reader.FirstItem()) return slot.reset();
        Pointer pointer;
        LoadObject(ar, id, pointer);
        if (!reader.Failed()) slot = std::move(pointer);
    }

    // What the pointer may hold: an object of its own type, or of each registered type derived
    // from it.
    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view) {
        const std::string element(TypeText());
        std::vector<std::string> held;
        if constexpr (!std::is_abstract_v<T>) held.push_back(dtd.template Element<T>("item"));
        for (const PolymorphicType* type : TypesDerivedFrom<T>())
            held.push_back(type->describe(&dtd));
        dtd.Declarations().Declare(element, ChoiceModel(held, true), {kId, kReference, "varname"});
        dtd.Declarations().Declare(kDeferred, ChoiceModel(held, false), {"varname"});
        return element;
    }

private:
    // A pointer to the object numbered `id`, written in its own place or further on.
    template <class Writer>
    static void Reference(Writer& writer, std::string_view variable, std::size_t index,
                          std::uint64_t id) {
        writer.BeginClass(TypeText(), variable, index, {kReference, std::to_string(id)});
        writer.End();
    }

    // The object a pointer holds, as the element of its class.
    template <class Out>
    static void SaveObject(Out& ar, const T& object) {
        auto& writer = ar.Writer();
        if constexpr (std::is_polymorphic_v<T>) {
            if (typeid(object) != typeid(T)) {
                const PolymorphicType* type = PolymorphicTypeOf(typeid(object));
                if (type && !type->conflict.empty())
                    writer.Refuse({}, "one type registered as \"" + type->typeText + '"',
                                  type->conflict);
                else if (type)
                    type->save[Out::kWriter](&ar, WholeObject(&object));
                else
                    writer.Refuse({}, "a type registered with CLASSXML_REGISTER_TYPE",
                                  ReadableTypeName(typeid(object)));
                return;
            }
        }
        if constexpr (!std::is_abstract_v<T>) {
            const bool constructed = LoadAndConstruct<T, DtdArchive>;
            ar.Shared().constructed += constructed;
            ar.Put("item", object, 1);
            ar.Shared().constructed -= constructed;
        }
    }

    // The object of the element the reader stands on (a pointer's item): made, known by its
    // id (a shared one), loaded, and given to the pointer.
    template <class In>
    static void LoadObject(In& ar, const std::optional<std::string>& id, Pointer& pointer) {
        auto& reader = ar.Reader();
        Made made = Make(ar);
        if (!made.object) return;
        if constexpr (kShared) {
            // Known by its id before its contents load, so that a ring through it closes.
            const auto deleter = made.whole.get_deleter();
            const std::shared_ptr<void> whole(made.whole.release(), deleter);
            LoadedObjects& loaded = ar.Shared();
            const LoadedObjects::Object* entry = loaded.Noted(
                id, {whole, made.type, &typeid(T), made.type ? made.type->renew : RenewInPlace<T>});
            if (!entry) return (void)reader.Fail("a varid of its own", "a repeated one");
            loaded.loading.push_back(entry);
            LoadContents(ar, made);
            loaded.loading.pop_back();
            if (reader.Failed()) return;
            if (reader.NextItem()) return (void)reader.Fail("one object", "more");
            pointer = std::shared_ptr<T>(whole, made.object);
        } else {
            LoadContents(ar, made);
            if (reader.Failed()) return;
            if (reader.NextItem()) return (void)reader.Fail("one object", "more");
            made.whole.release();
            pointer.reset(made.object);
        }
    }

    // A pointer whose object is written further on: set once its deferred element is loaded.
    template <class In, class Slot>
    static void Await(In& ar, const std::string& id, Slot& slot) {
        if (ar.Shared().constructing)
            return (void)ar.Reader().Fail(
                "objects that load_and_construct builds holding their pointees in place",
                "one deferred under varref " + id);
        if (!ar.Shared().Await(id, {&slot, &Resolve<In, Slot>, ar.Reader().Where()}, !kShared))
            ar.Reader().Fail("a varref of its own", "a repeated one");
    }
    // Sets a pointer to the object numbered `id`: the object of the deferred element the reader
    // stands on (`load`), or one loaded before.
    template <class In, class Slot>
    static void Resolve(void* archive, const std::string& id, void* slotAddress, bool load) {
        In& ar = *static_cast<In*>(archive);
        Pointer pointer;
        if (!load) {
            if constexpr (!kShared)
                return (void)ar.Reader().Fail("an object of its own",
                                              "a shared one under varref " + id);
            else
                Shared(ar, id, pointer);
        } else if (!ar.Reader().FirstItem()) {
            return (void)ar.Reader().Fail("an object", "none");
        } else {
            LoadObject(ar, kShared ? std::optional<std::string>(id) : std::nullopt, pointer);
        }
        if (!ar.Reader().Failed()) *static_cast<Slot*>(slotAddress) = std::move(pointer);
    }

    // The address of the whole object a pointer points into.
    static const void* WholeObject(const T* object) {
        if constexpr (std::is_polymorphic_v<T>)
            return dynamic_cast<const void*>(object);
        else
            return object;
    }

    // An object made for a pointer: the whole object, which goes with its own deleter until a
    // pointer takes it, and the T inside it.
    struct Made {
        std::unique_ptr<void, void (*)(void*)> whole{nullptr, nullptr};
        void* address = nullptr; // of the whole object, which outlives `whole` once shared
        T* object = nullptr;
        const PolymorphicType* type = nullptr; // when it is of a registered type
        bool loaded = false;                   // built from its contents (load_and_construct)
    };

    // The object the item stands for, made empty: of the registered type its class element
    // names, or of the pointer's own type.
    template <class In>
    static Made Make(In& ar) {
        auto& reader = ar.Reader();
        Made made;
        if constexpr (std::is_polymorphic_v<T>) {
            const std::string element = reader.ElementName();
            made.type = PolymorphicTypeNamed(element);
            if (made.type && !made.type->conflict.empty()) {
                reader.Fail("one type registered as \"" + element + '"', made.type->conflict);
                return Made();
            }
            if (made.type) {
                made.whole = {made.type->create(), made.type->destroy};
                made.address = made.whole.get();
                made.object = BaseOf<T>(*made.type, made.address);
                if (!made.object)
                    reader.Fail("a class derived from " + std::string(Archived<T>::TypeText()),
                                "element " + element);
                return made;
            }
            if (element != Archived<T>::TypeText() || std::is_abstract_v<T>) {
                reader.Fail("one of the types registered for " +
                                std::string(Archived<T>::TypeText()) + RegisteredFor(),
                            "element " + element);
                return made;
            }
        }
        if constexpr (LoadAndConstruct<T, In>) {
            return Constructed(ar);
        } else if constexpr (!std::is_abstract_v<T>) {
            static_assert(std::is_default_constructible_v<T>,
                          "a pointer loads its object into a default-constructed one: give the "
                          "type a default constructor, or a load_and_construct function");
            made.whole = {new T(), [](void* object) { delete static_cast<T*>(object); }};
            made.address = made.whole.get();
            made.object = static_cast<T*>(made.address);
        }
        return made;
    }

    // The object its own load_and_construct builds from its class element.
    template <class In>
    static Made Constructed(In& ar) {
        auto& reader = ar.Reader();
        std::uint32_t version = 0;
        if (!reader.IsClass(Archived<T>::TypeText()) || !FileVersion<T>(reader, version))
            return Made();
        Construct<T> construct;
        ++ar.Shared().constructing;
        CallLoadAndConstruct(ar, construct);
        --ar.Shared().constructing;
        std::unique_ptr<T> object = construct.Take();
        if (reader.Failed()) return Made();
        if (!object) {
            reader.Fail("an object that load_and_construct builds", "none built");
            return Made();
        }
        Made made;
        made.object = object.get();
        made.address = const_cast<void*>(WholeObject(made.object));
        made.whole = {object.release(), [](void* whole) { delete static_cast<T*>(whole); }};
        made.loaded = true;
        return made;
    }

    // Loads the made object's class element into it.
    template <class In>
    static void LoadContents(In& ar, const Made& made) {
        if (made.type) return made.type->load[int(In::kEngine)](&ar, made.address);
        if constexpr (!std::is_abstract_v<T>)
            if (!made.loaded) ar.Here(*made.object);
    }

    // The same for a message: ": A, B", or " (none)".
    static std::string RegisteredFor() {
        std::string names;
        for (const PolymorphicType* type : TypesDerivedFrom<T>())
            names += (names.empty() ? ": " : ", ") + type->typeText;
        return names.empty() ? " (none)" : names;
    }

    // A pointer that shares an object loaded before.
    template <class In>
    static void Shared(In& ar, const std::string& id, Pointer& pointer) {
        auto& reader = ar.Reader();
        const auto found = ar.Shared().byId.find(id);
        if (found == ar.Shared().byId.end())
            return (void)reader.Fail("an object with varid " + id, "none");
        const LoadedObjects::Object& shared = found->second;
        T* object = shared.type ? BaseOf<T>(*shared.type, shared.object.get())
                    : *shared.pointerType == typeid(T) ? static_cast<T*>(shared.object.get())
                                                       : nullptr;
        if (!object)
            return (void)reader.Fail("an object of type " + std::string(Archived<T>::TypeText()),
                                     "another type under varref " + id);
        if constexpr (kShared) pointer = std::shared_ptr<T>(shared.object, object);
    }
};

// Loads the deferred elements the pointers loaded so far await, and those they await in turn,
// from the children of the document's root that follow the object being loaded.
template <class In>
void LoadDeferred(In& ar) {
    LoadedObjects& loaded = ar.Shared();
    if (!loaded.Awaiting()) return;
    auto& reader = ar.Reader();
    std::string id;
    std::vector<LoadedObjects::Slot> slots;
    while (!reader.Failed() && loaded.NextAwaited(id, slots)) {
        std::size_t first = 0;
        if (!loaded.byId.count(id)) { // else a shared object written in its place after all
            if (!reader.HasClassMember(kDeferred, id))
                return (void)reader.FailAt(slots[0].path, "an object with varid " + id, "none");
            reader.EnterClassMember(kDeferred, id);
            slots[first++].resolve(&ar, id, slots[0].pointer, true);
            reader.Leave();
        }
        for (std::size_t slot = first; slot < slots.size() && !reader.Failed(); ++slot)
            slots[slot].resolve(&ar, id, slots[slot].pointer, false);
    }
}

template <class T>
struct Archived<std::unique_ptr<T>> : ArchivedPointer<std::unique_ptr<T>, T, false> {};
template <class T>
struct Archived<std::shared_ptr<T>> : ArchivedPointer<std::shared_ptr<T>, T, true> {};

// A weak_ptr is written as the shared_ptr it locks: the object itself the first time it is
// met, a reference to it after; an expired one as a null pointer. It loads sharing the object
// with the shared_ptrs that own it, and expires with them.
template <class T>
struct Archived<std::weak_ptr<T>> {
    using Owner = Archived<std::shared_ptr<T>>;
    static constexpr Shape shape = Shape::Class;
    static std::string_view TypeText() { return Owner::TypeText(); }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index,
                     const std::weak_ptr<T>& pointer) {
        Owner::Save(ar, name, index, pointer.lock());
    }
    template <class In>
    static void Load(In& ar, std::weak_ptr<T>& pointer) {
        Owner::LoadInto(ar, pointer);
    }
    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view name) {
        return Owner::Describe(dtd, name);
    }
};

} // namespace classxml::archive_detail
