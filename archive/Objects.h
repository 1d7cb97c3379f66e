#pragma once

/// @file
/// Documents of any number of objects, written and read one object at a time: on the stream
/// engine in the memory of one, on the DOM engine as one document.
///
///     classxml::ObjectWriter out(classxml::InFile{"records.xml"}, "Records");
///     for (const Record& record : source) out.Write(record);
///     classxml::Result saved = out.Finish();
///
///     classxml::ObjectReader in(classxml::FromFile{"records.xml"}, "Records");
///     for (Record record; in.Read(record);) use(record);
///     classxml::Result loaded = in.Finish();

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "classxml/archive/Archive.h"

namespace classxml {

/// @ingroup archive
/// A document written to a file, which is replaced in one step once the document is complete.
struct InFile {
    std::string_view path; ///< UTF-8
};
/// @ingroup archive
/// A document written to a string, which takes it once it is complete and is left as it was
/// when it fails.
struct InString {
    std::string& utf8; ///< UTF-8
};
/// @ingroup archive
/// A document read from a file, validated against its DTD as ReadFromFile validates.
struct FromFile {
    std::string_view path; ///< UTF-8
};
/// @ingroup archive
/// A document read from a UTF-8 string, which must stay as it is until the reader is done.
struct FromString {
    std::string_view utf8; ///< the document
};

namespace archive_detail {

// A writer and its archive, for one engine.
template <class Writer>
struct WriterOn {
    WriterOn(Destination destination, std::string_view rootName, const SaveOptions& options)
        : writer(destination, rootName, options), archive(writer) {}
    Writer writer;
    BasicOutputArchive<Writer> archive;
};
template <class Reader>
struct ReaderOn {
    Reader reader;
    BasicInputArchive<Reader> archive{reader};
};

} // namespace archive_detail

/// @ingroup archive
/// Writes objects one at a time into one document, each as a class element of its root. On the
/// stream engine (the default) each is written as it comes, in the memory of one; on the DOM
/// engine the document is built and saved by Finish. A write that fails (a name or text XML
/// cannot carry) stops the document; Finish says where and why, and a file keeps what it held
/// before.
class ObjectWriter {
public:
    /// Starts a document whose root element is `rootName`, with an optional DOCTYPE.
    ///@{
    ObjectWriter(InFile file, std::string_view rootName, const DocumentType& doctype = {},
                 Engine engine = Engine::Stream)
        : ObjectWriter(file, rootName, SaveOptions{doctype, engine}) {}
    ObjectWriter(InString text, std::string_view rootName, const DocumentType& doctype = {},
                 Engine engine = Engine::Stream)
        : ObjectWriter(text, rootName, SaveOptions{doctype, engine}) {}
    ObjectWriter(InFile file, std::string_view rootName, Engine engine)
        : ObjectWriter(file, rootName, SaveOptions{{}, engine}) {}
    ObjectWriter(InString text, std::string_view rootName, Engine engine)
        : ObjectWriter(text, rootName, SaveOptions{{}, engine}) {}
    ObjectWriter(InFile file, std::string_view rootName, const SaveOptions& options)
        : ObjectWriter(archive_detail::Destination{file.path}, rootName, options) {}
    ObjectWriter(InString text, std::string_view rootName, const SaveOptions& options)
        : ObjectWriter(archive_detail::Destination{{}, &text.utf8}, rootName, options) {}
    ///@}

    /// Writes `object` as the next class element; false once the document has failed.
    template <class T>
    bool Write(const T& object) {
        archive_detail::RequireRootClass<T>();
        return m_stream ? WriteOn(*m_stream, object) : WriteOn(*m_dom, object);
    }

    /// Completes the document.
    Result Finish() { return m_stream ? m_stream->writer.Finish() : m_dom->writer.Finish(); }

private:
    ObjectWriter(archive_detail::Destination destination, std::string_view rootName,
                 const SaveOptions& options) {
        if (options.engine == Engine::Stream)
            m_stream =
                std::make_unique<decltype(m_stream)::element_type>(destination, rootName, options);
        else
            m_dom = std::make_unique<decltype(m_dom)::element_type>(destination, rootName, options);
    }

    template <class On, class T>
    bool WriteOn(On& on, const T& object) {
        if (!on.writer.Status()) return false;
        ++m_count;
        if (archive_detail::PlainPointersUsed())
            on.archive.Shared().targets = archive_detail::PointedToIn({}, [&](auto& survey) {
                archive_detail::Archived<T>::Save(survey, {}, m_count, object);
            });
        archive_detail::Archived<T>::Save(on.archive, {}, m_count, object);
        on.archive.WriteDeferred();
        archive_detail::RequirePointedToWritten(on.writer, on.archive.Shared());
        return bool(on.writer.Status());
    }

    std::unique_ptr<archive_detail::WriterOn<archive_detail::StreamEngineWriter>> m_stream;
    std::unique_ptr<archive_detail::WriterOn<archive_detail::DomWriter>> m_dom;
    std::size_t m_count = 0;
};

/// @ingroup archive
/// Reads the objects of a document written by ObjectWriter (or any document whose root holds
/// class elements) one at a time; elements of other names are skipped. On the stream engine (the
/// default) in the memory of one object; on the DOM engine the document is parsed first.
class ObjectReader {
public:
    /// Starts reading a document whose root element must be `rootName`.
    ///@{
    ObjectReader(FromFile file, std::string_view rootName, const LoadOptions& options) {
        Start(options.engine, [&](auto& reader) { reader.LoadFile(file.path, rootName, options); });
    }
    ObjectReader(FromString text, std::string_view rootName, const LoadOptions& options) {
        Start(options.engine,
              [&](auto& reader) { reader.LoadString(text.utf8, rootName, options); });
    }
    ObjectReader(FromFile file, std::string_view rootName, Engine engine = Engine::Stream)
        : ObjectReader(file, rootName, archive_detail::OnEngine(engine)) {}
    ObjectReader(FromString text, std::string_view rootName, Engine engine = Engine::Stream)
        : ObjectReader(text, rootName, archive_detail::OnEngine(engine)) {}
    ///@}

    /// Reads the next object of type `T` into `object`; false at the end of the document or
    /// when it fails (Finish says where and why; `object` is then left as it was).
    template <class T>
    bool Read(T& object) {
        archive_detail::RequireRootClass<T>();
        return m_stream ? ReadOn(*m_stream, object) : ReadOn(*m_dom, object);
    }

    /// Reads the rest of the document: the load is accepted only when all of it is
    /// well-formed and valid.
    Result Finish() { return m_stream ? FinishOn(*m_stream) : FinishOn(*m_dom); }

private:
    template <class Load>
    void Start(Engine engine, Load load) {
        if (engine == Engine::Stream) {
            m_stream = std::make_unique<decltype(m_stream)::element_type>();
            load(m_stream->reader);
        } else {
            m_dom = std::make_unique<decltype(m_dom)::element_type>();
            load(m_dom->reader);
        }
    }

    template <class On, class T>
    bool ReadOn(On& on, T& object) {
        auto& reader = on.reader;
        if (reader.Failed() ||
            !reader.NextObject(archive_detail::Archived<T>::TypeText(), ++m_count))
            return false;
        archive_detail::LoadedObjects& shared = on.archive.Shared();
        T loaded{};
        archive_detail::NoteIfPointedTo(on.archive, loaded);
        archive_detail::LoadMembers(on.archive, loaded);
        reader.Leave();
        archive_detail::LoadDeferred(on.archive);
        if (reader.Failed() || !archive_detail::PointersMatch(reader, shared)) return false;
        object = std::move(loaded);
        shared.Moved(&loaded, &object, sizeof(T));
        shared.SetPointers();
        return true;
    }

    template <class On>
    static Result FinishOn(On& on) {
        on.reader.Finish();
        return on.reader.TakeResult();
    }

    std::unique_ptr<archive_detail::ReaderOn<archive_detail::StreamEngineReader>> m_stream;
    std::unique_ptr<archive_detail::ReaderOn<archive_detail::DomReader>> m_dom;
    std::size_t m_count = 0;
};

} // namespace classxml
