#pragma once

/// @file
/// Documents of any number of objects, written and read one object at a time on the stream
/// engine, in the memory of one:
///
///     classxml::ObjectWriter out(classxml::InFile{"records.xml"}, "Records");
///     for (const Record& record : source) out.Write(record);
///     classxml::Result saved = out.Finish();
///
///     classxml::ObjectReader in(classxml::FromFile{"records.xml"}, "Records");
///     for (Record record; in.Read(record);) use(record);
///     classxml::Result loaded = in.Finish();

#include <cstddef>
#include <string>
#include <string_view>

#include "archive/Archive.h"

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

/// @ingroup archive
/// Writes objects one at a time into one document, each as a class element of its root, on the
/// stream engine. A write that fails (a name or text XML cannot carry) stops the document;
/// Finish says where and why, and a file keeps what it held before.
class ObjectWriter {
public:
    /// Starts a document whose root element is `rootName`, with an optional DOCTYPE.
    ///@{
    ObjectWriter(InFile file, std::string_view rootName, const DocumentType& doctype = {})
        : m_writer({file.path}, rootName, doctype), m_archive(m_writer) {}
    ObjectWriter(InString text, std::string_view rootName, const DocumentType& doctype = {})
        : m_writer({{}, &text.utf8}, rootName, doctype), m_archive(m_writer) {}
    ///@}

    /// Writes `object` as the next class element; false once the document has failed.
    template <class T>
    bool Write(const T& object) {
        if (!m_writer.Status()) return false;
        m_writer.BeginClass(archive_detail::TypeTextOf<T>(), {}, ++m_count);
        m_archive.Members(object);
        m_writer.End();
        return bool(m_writer.Status());
    }

    /// Completes the document.
    Result Finish() { return m_writer.Finish(); }

private:
    archive_detail::StreamDocumentWriter m_writer;
    BasicOutputArchive<archive_detail::StreamDocumentWriter> m_archive;
    std::size_t m_count = 0;
};

/// @ingroup archive
/// Reads the objects of a document written by ObjectWriter (or any document whose root holds
/// class elements) one at a time, on the stream engine. Elements of other names are skipped.
class ObjectReader {
public:
    /// Starts reading a document whose root element must be `rootName`.
    ///@{
    ObjectReader(FromFile file, std::string_view rootName) : m_archive(m_reader) {
        m_reader.LoadFile(file.path, rootName);
    }
    ObjectReader(FromString text, std::string_view rootName) : m_archive(m_reader) {
        m_reader.LoadString(text.utf8, rootName);
    }
    ///@}

    /// Reads the next object of type `T` into `object`; false at the end of the document or
    /// when it fails (Finish says where and why; `object` is then left as it was).
    template <class T>
    bool Read(T& object) {
        if (m_reader.Failed() || !m_reader.NextObject(archive_detail::TypeTextOf<T>(), ++m_count))
            return false;
        T loaded{};
        m_archive.Members(loaded);
        m_reader.Leave();
        if (m_reader.Failed()) return false;
        object = std::move(loaded);
        return true;
    }

    /// Reads the rest of the document: the load is accepted only when all of it is
    /// well-formed and valid.
    Result Finish() {
        m_reader.Finish();
        return m_reader.TakeResult();
    }

private:
    archive_detail::StreamDocumentReader m_reader;
    BasicInputArchive<archive_detail::StreamDocumentReader> m_archive;
    std::size_t m_count = 0;
};

} // namespace classxml
