#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <unordered_map>
#include <utility>

#include "classxml/archive/OutputArchive.h"
#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/detail/Dtd.h"
#include "classxml/archive/detail/Polymorphic.h"
#include "classxml/archive/detail/SharedObjects.h"
#include "classxml/archive/engines/SurveyWriter.h"
#include "classxml/archive/types/Pointers.h"

// Plain pointers to classes, which own nothing: the class element "pointer" holding nothing,
// its "varref" the number of the object it points to, which that object's class element
// carries as "varid" wherever the document holds it, before the pointer or after it (the
// document's root object is number 0); a null pointer has no varref. The object must be one the
// document saves (the root, a member, a container's item, a pointee): a pointer to any other
// fails the save, naming the member. Loaded, the pointer points to the loaded object.
//
// Since an object's class element may come before the pointers to it, the save first walks the
// object without writing (a survey) for the objects pointed to; only programs that archive plain
// pointers somewhere take that walk.
namespace classxml::archive_detail {

template <class T>
requires std::is_class_v<T>
struct Archived<T*> {
    using Object = std::remove_cv_t<T>;
    static constexpr Shape shape = Shape::Class;
    static std::string_view TypeText() { return TypeTextOr<T*>("pointer"); }
    // Set as the program starts when it archives plain pointers at all.
    static inline const bool kArchived = (PlainPointersArchived() = true);

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index, T* const& pointer) {
        (void)kArchived;
        auto& writer = ar.Writer();
        const std::string_view variable = index ? std::string_view() : name;
        if (!pointer || Out::kWriter == SurveyWriter::kWriter) {
            if (pointer) ar.Shared().surveyed.try_emplace(KeyOf(pointer));
            writer.BeginClass(TypeText(), variable, index);
            return writer.End();
        }
        if (ar.Shared().constructed)
            return writer.Refuse(name, kOutsideConstructed, "one inside such an object");
        bool written = false;
        const std::uint64_t number = ar.Shared().PointedTo(KeyOf(pointer), written);
        writer.BeginClass(TypeText(), variable, index, {kReference, std::to_string(number)});
        if (!written) ar.Shared().Unwritten(number, writer.Where());
        writer.End();
    }

    template <class In>
    static void Load(In& ar, T*& pointer) {
        (void)kArchived;
        auto& reader = ar.Reader();
        if (!reader.IsClass(TypeText())) return;
        pointer = nullptr;
        const std::optional<std::string> reference = reader.Attribute(kReference);
        if (!reference) return;
        if (ar.Shared().constructing)
            return (void)reader.Fail(kOutsideConstructed, "one inside such an object");
        ar.Shared().AwaitTarget(*reference, &pointer, &Assign, TypeTextOf<Object>(),
                                reader.Where());
    }

    // Declares the pointer, and lets the class elements it may point to carry their number.
    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view) {
        const std::string element(TypeText());
        dtd.Declarations().Declare(element, "EMPTY", {kReference, "varname"});
        if constexpr (!std::is_abstract_v<Object>)
            dtd.Declarations().Allow(dtd.template Element<Object>("item"), kId);
        for (const PolymorphicType* type : TypesDerivedFrom<Object>())
            dtd.Declarations().Allow(type->describe(&dtd), kId);
        return element;
    }

private:
    // The object a pointer points to, as its class element is known by while saving.
    static ObjectKey KeyOf(const T* pointer) {
        if constexpr (std::is_polymorphic_v<Object>)
            return {dynamic_cast<const void*>(pointer), typeid(*pointer)};
        else
            return {pointer, typeid(Object)};
    }

    static bool Assign(void* slot, const LoadedObjects::Target& target, bool set) {
        Object* object = target.registered ? BaseOf<Object>(*target.registered, target.object)
                         : *target.type == typeid(Object) ? static_cast<Object*>(target.object)
                                                          : nullptr;
        if (object && set) *static_cast<T**>(slot) = object;
        return object != nullptr;
    }
};

// The objects plain pointers point to in what `save` writes, found by a walk that writes
// nothing.
template <class Save>
SavedObjects::Targets PointedToIn(std::string_view rootName, const Save& save) {
    SurveyWriter writer(rootName);
    BasicOutputArchive<SurveyWriter> survey(writer);
    save(survey);
    survey.WriteDeferred();
    return std::move(survey.Shared().surveyed);
}

// Once the top object is written: a plain pointer to an object it does not hold fails the save.
template <class Writer>
void RequirePointedToWritten(Writer& writer, SavedObjects& saved) {
    if (std::string path = saved.TakeUnwritten(); !path.empty())
        writer.RefuseAt(std::move(path), "a pointer to an object the document holds",
                        "one to an object it does not");
}

// Once the top object is loaded, before it is moved to where it stays: whether each plain
// pointer's object was loaded, of its type.
template <class Reader>
bool PointersMatch(Reader& reader, const LoadedObjects& loaded) {
    if (!loaded.PointersWait()) return true;
    std::string path, expected, found;
    return loaded.PointersMatch(path, expected, found) ||
           reader.FailAt(std::move(path), std::move(expected), std::move(found));
}

} // namespace classxml::archive_detail
