#pragma once

#include <string>
#include <typeinfo>

#include "classxml/archive/Archive.h"
#include "classxml/archive/detail/Polymorphic.h"

/// @ingroup archive
/// Registers a class whose objects a pointer to one of its bases may hold, by its type text, so
/// that such a pointer saves and loads it as itself: `CLASSXML_REGISTER_TYPE(Circle)` at
/// namespace scope, once per class, in any module of the program.
#define CLASSXML_REGISTER_TYPE(T)                                                                  \
    namespace {                                                                                    \
    [[maybe_unused]] const bool                                                                    \
        CLASSXML_REGISTERED(__COUNTER__) = ::classxml::archive_detail::Register<T>();              \
    }
/// @ingroup archive
/// Registers class `T` as CLASSXML_REGISTER_TYPE does, under `NAME` (a valid XML name of the
/// program's choosing) rather than its unqualified C++ name, at global scope:
/// `CLASSXML_REGISTER_TYPE_AS(geo::Circle, "geo.Circle")`. NAME becomes T's class element
/// wherever T is saved, so that two classes of one name in two namespaces can both be
/// registered. It must stand before the first save or load of T in its module.
#define CLASSXML_REGISTER_TYPE_AS(T, NAME)                                                         \
    template <>                                                                                    \
    struct classxml::TypeText<T> {                                                                 \
        static constexpr std::string_view value = NAME;                                            \
    };                                                                                             \
    CLASSXML_REGISTER_TYPE(T)
/// @cond INTERNAL
#define CLASSXML_REGISTERED(counter) CLASSXML_REGISTERED_NAME(counter)
#define CLASSXML_REGISTERED_NAME(counter) classxml_registered_##counter
/// @endcond

namespace classxml::archive_detail {

template <class T>
bool Register() {
    using Dom = BasicOutputArchive<DomWriter>;
    using Stream = BasicOutputArchive<StreamEngineWriter>;
    using Survey = BasicOutputArchive<SurveyWriter>;
    using DomIn = BasicInputArchive<DomReader>;
    using StreamIn = BasicInputArchive<StreamEngineReader>;
    static_assert(Archived<T>::shape == Shape::Class, "only classes are registered");
    PolymorphicType type;
    type.typeText = std::string(Archived<T>::TypeText());
    type.typeName = typeid(T).name();
    type.create = []() -> void* { return new T(); };
    type.destroy = [](void* object) { delete static_cast<T*>(object); };
    type.renew = RenewInPlace<T>;
    type.throwPointer = [](void* object) { throw static_cast<T*>(object); };
    type.save[DomWriter::kWriter] = [](void* archive, const void* object) {
        Archived<T>::Save(*static_cast<Dom*>(archive), {}, 1, *static_cast<const T*>(object));
    };
    type.save[StreamEngineWriter::kWriter] = [](void* archive, const void* object) {
        Archived<T>::Save(*static_cast<Stream*>(archive), {}, 1, *static_cast<const T*>(object));
    };
    type.save[SurveyWriter::kWriter] = [](void* archive, const void* object) {
        Archived<T>::Save(*static_cast<Survey*>(archive), {}, 1, *static_cast<const T*>(object));
    };
    type.load[int(Engine::Dom)] = [](void* archive, void* object) {
        Archived<T>::Load(*static_cast<DomIn*>(archive), *static_cast<T*>(object));
    };
    type.load[int(Engine::Stream)] = [](void* archive, void* object) {
        Archived<T>::Load(*static_cast<StreamIn*>(archive), *static_cast<T*>(object));
    };
    type.describe = [](void* dtd) {
        return Archived<T>::Describe(*static_cast<DtdArchive*>(dtd), {});
    };
    RegisterPolymorphicType(type);
    return true;
}

} // namespace classxml::archive_detail
