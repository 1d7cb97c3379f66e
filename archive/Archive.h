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
/// filesystem::path, chrono durations and system_clock time points, unique_ptr, shared_ptr and
/// weak_ptr (sharing kept, rings and any depth included, and polymorphic bases holding
/// registered classes: CLASSXML_REGISTER_TYPE), plain pointers to objects the document holds,
/// std::vector<std::byte> (as base64 that pre-read extraction can move out), and classes of
/// their own; a class names its bases' members with classxml::BaseClass,
/// a one-value class gives save_minimal and load_minimal, and one without a default
/// constructor load_and_construct (Construct.h).

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "classxml/archive/ClassVersion.h"
#include "classxml/archive/Construct.h"
#include "classxml/archive/DocumentType.h"
#include "classxml/archive/Engine.h"
#include "classxml/archive/InputArchive.h"
#include "classxml/archive/LoadOptions.h"
#include "classxml/archive/Members.h"
#include "classxml/archive/OutputArchive.h"
#include "classxml/archive/Result.h"
#include "classxml/archive/SaveOptions.h"
#include "classxml/archive/TypeText.h"
#include "classxml/archive/engines/DomReader.h"
#include "classxml/archive/engines/DomWriter.h"
#include "classxml/archive/engines/StreamEngineReader.h"
#include "classxml/archive/engines/StreamEngineWriter.h"
#include "classxml/archive/engines/SurveyWriter.h"
#include "classxml/archive/types/Bitset.h"
#include "classxml/archive/types/Bytes.h"
#include "classxml/archive/types/Chrono.h"
#include "classxml/archive/types/Containers.h"
#include "classxml/archive/types/FilesystemPath.h"
#include "classxml/archive/types/Minimal.h"
#include "classxml/archive/types/Optional.h"
#include "classxml/archive/types/PlainPointers.h"
#include "classxml/archive/types/Pointers.h"
#include "classxml/archive/types/TupleLike.h"
#include "classxml/archive/types/Values.h"
#include "classxml/archive/types/Variant.h"

namespace classxml {

/// @ingroup archive
/// The archive a `serialize` function is given when its object is saved on the DOM engine.
using OutputArchive = BasicOutputArchive<archive_detail::DomWriter>;
/// @ingroup archive
/// The archive a `serialize` function is given when its object is loaded on the DOM engine.
using InputArchive = BasicInputArchive<archive_detail::DomReader>;

namespace archive_detail {

// The root of a document is a class element: a class with serialize, or save and load.
template <class T>
concept RootClass = requires {
    Archived<T>::kClass;
};

template <class T>
void RequireRootClass() {
    static_assert(RootClass<T>,
                  "the root of a document is a class element: save an object of a class with "
                  "serialize (or save and load), or save a container's objects one at a time "
                  "with ObjectWriter");
}

template <class Writer, class T>
Result SaveOn(Destination destination, const T& object, const SaveOptions& options) {
    Writer writer(destination, TypeTextOf<T>(), options);
    BasicOutputArchive<Writer> archive(writer);
    if (PlainPointersUsed()) {
        archive.Shared().targets =
            PointedToIn(TypeTextOf<T>(), [&](auto& survey) { SaveMembers(survey, object); });
        archive.Shared().RootIs({&object, typeid(T)});
    }
    SaveMembers(archive, object);
    archive.WriteDeferred();
    RequirePointedToWritten(writer, archive.Shared());
    return writer.Finish();
}

template <class T>
Result Save(Destination destination, const T& object, const SaveOptions& options) {
    RequireRootClass<T>();
    return options.engine == Engine::Stream
               ? SaveOn<StreamEngineWriter>(destination, object, options)
               : SaveOn<DomWriter>(destination, object, options);
}

// The root object is number 0 to the plain pointers that point to it.
template <class T>
void NoteRoot(LoadedObjects& loaded, T& root) {
    if (PlainPointersUsed()) loaded.NoteTarget(std::string(kRootId), TargetOf(root));
}

// Loads into a fresh object and moves it over `object` only when the whole document was read
// and accepted: a failed load leaves the object as it was. Plain pointers are set once their
// objects stand where they stay.
template <class Reader, class T>
Result LoadOn(T& object, auto start) {
    Reader reader;
    if (start(reader, TypeTextOf<T>())) {
        BasicInputArchive<Reader> archive(reader);
        LoadedObjects& loaded = archive.Shared();
        if constexpr (std::is_default_constructible_v<T> && std::is_move_assignable_v<T>) {
            T fresh{};
            NoteRoot(loaded, fresh);
            LoadMembers(archive, fresh);
            LoadDeferred(archive);
            reader.Finish();
            if (!reader.Failed() && PointersMatch(reader, loaded)) {
                object = std::move(fresh);
                loaded.Moved(&fresh, &object, sizeof(T));
                loaded.SetPointers();
            } else {
                loaded.Abandon();
            }
        } else {
            NoteRoot(loaded, object);
            LoadMembers(archive, object);
            LoadDeferred(archive);
            reader.Finish();
            if (!reader.Failed() && PointersMatch(reader, loaded)) loaded.SetPointers();
        }
    }
    return reader.TakeResult();
}

template <class T>
Result Load(T& object, Engine engine, auto start) {
    RequireRootClass<T>();
    return engine == Engine::Stream ? LoadOn<StreamEngineReader>(object, start)
                                    : LoadOn<DomReader>(object, start);
}

} // namespace archive_detail

/// @ingroup archive
/// Saves `object` as a class XML document whose root element is its class element; the file
/// is replaced in one step, as the handle's saves are.
///@{
template <class T>
Result SaveToFile(std::string_view path, const T& object, const DocumentType& doctype = {},
                  Engine engine = Engine::Stream) {
    return archive_detail::Save({path}, object, SaveOptions{doctype, engine});
}
template <class T>
Result SaveToFile(std::string_view path, const T& object, Engine engine) {
    return archive_detail::Save({path}, object, SaveOptions{{}, engine});
}
template <class T>
Result SaveToFile(std::string_view path, const T& object, const SaveOptions& options) {
    return archive_detail::Save({path}, object, options);
}
///@}

/// @ingroup archive
/// Saves `object` into `xml`, UTF-8 with an XML declaration.
///@{
template <class T>
Result SaveToString(std::string& xml, const T& object, const DocumentType& doctype = {},
                    Engine engine = Engine::Stream) {
    return archive_detail::Save({{}, &xml}, object, SaveOptions{doctype, engine});
}
template <class T>
Result SaveToString(std::string& xml, const T& object, Engine engine) {
    return archive_detail::Save({{}, &xml}, object, SaveOptions{{}, engine});
}
template <class T>
Result SaveToString(std::string& xml, const T& object, const SaveOptions& options) {
    return archive_detail::Save({{}, &xml}, object, options);
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
Result LoadFromFile(std::string_view path, T& object, Engine engine = Engine::Stream) {
    return LoadFromFile(path, object, archive_detail::OnEngine(engine));
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
Result LoadFromString(std::string_view xml, T& object, Engine engine = Engine::Stream) {
    return LoadFromString(xml, object, archive_detail::OnEngine(engine));
}
///@}

} // namespace classxml

#include "classxml/archive/DtdFor.h"
#include "classxml/archive/Objects.h"
#include "classxml/archive/Registration.h"
