#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "archive/MemberPath.h"
#include "archive/Result.h"

namespace classxml::archive_detail {

// Walks one parsed document through the handle. Members are found by name among the children
// of the element at the top (a class member by its element and `varname`), items in document
// order; values are converted strictly. The first failure is kept with the member's path, and
// every later call answers false.
class CLASSXML_API DocumentReader {
public:
    DocumentReader();
    ~DocumentReader();
    DocumentReader(const DocumentReader&) = delete;
    DocumentReader& operator=(const DocumentReader&) = delete;

    // Parses, a file validated as ReadFromFile validates; then stands on the root element,
    // which must be named `rootName`.
    bool LoadFile(std::string_view path, std::string_view rootName);
    bool LoadString(std::string_view utf8, std::string_view rootName);

    bool HasMember(std::string_view name);
    bool HasClassMember(std::string_view elementName, std::string_view variableName);
    bool EnterMember(std::string_view name);
    bool EnterClassMember(std::string_view elementName, std::string_view variableName);
    // Steps onto the first item of the container at the top, or from the item at the top to
    // the next one; false, back on the container, when there is none.
    bool FirstItem();
    bool NextItem();
    void Leave();

    // The element at the top is a container of `kind` ("vector", ..., "map") with these types.
    bool IsContainer(std::string_view kind, std::string_view itemType,
                     std::string_view valueType = {});
    // The element at the top is the class element `elementName`.
    bool IsClass(std::string_view elementName);

    bool Read(std::string_view type, std::int32_t& value);
    bool Read(std::string_view type, std::int64_t& value);
    bool Read(std::string_view type, std::uint32_t& value);
    bool Read(std::string_view type, std::uint64_t& value);
    bool Read(std::string_view type, bool& value);
    bool Read(std::string_view type, double& value);
    bool Read(std::string_view type, DB_ID& value);
    bool Read(std::string_view type, DB_GROUP_ID& value);
    bool Read(std::string_view type, DB_USER_ID& value);
    bool Read(std::string_view type, DB_TIME_TYPE& value);
    bool Read(std::string_view type, DB_UTC_TIME_TYPE& value);
    bool Read(std::string_view type, DB_VERSIONNUMBER& value);
    // Text exactly as it was written, carriage returns and line feeds as they were.
    bool Read(std::string_view type, std::string& value);
    bool Read(std::string_view type, std::u16string& value);

    // Records a failure at the top (or at its member `leaf`): false.
    bool Fail(std::string expected, std::string found, std::string_view leaf = {});
    bool Failed() const { return !m_result; }
    // The whole document was read and accepted when it was loaded: nothing is left to do.
    void Finish() {}
    Result TakeResult();

private:
    struct Frame {
        CXMLClassReaderWriter element;
        std::size_t index = 0; // an item's place in its container, from 1
    };
    bool Parsed(bool parsed, std::string_view rootName);
    CXMLClassReaderWriter FindClassMember(std::string_view elementName,
                                          std::string_view variableName);
    void Push(CXMLClassReaderWriter element, std::size_t index, std::string_view name = {});
    // The text of the element at the top, once its keytype is `type`.
    const CBasicString<WideChar>* Content(std::string_view type);
    template <class Value>
    bool ReadValue(std::string_view type, Value& value);

    CXMLClassReaderWriter m_root;
    std::string m_rootName; // the path's first step
    std::vector<Frame> m_open;
    MemberPath m_path;
    Result m_result;
};

} // namespace classxml::archive_detail
