// Arbitrary bytes read as a UTF-8 and as a UTF-16 document; every element walked and read
// with a few typed readers; the document saved and released. Nothing may crash or leak, and
// whatever a reader accepted and saved reads back as the same tree.
#include <cstdint>
#include <cstring>
#include <vector>

#include "FuzzSupport.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace {

using Handle = CXMLClassReaderWriter;

void ReadEveryElement(Handle& root) {
    std::vector<Handle> pending{root};
    while (!pending.empty()) { // not recursive: documents may nest very deep
        Handle element = pending.back();
        pending.pop_back();
        const Handle::View name = element.GetElementName();
        const Handle::View type = element.GetAttributeValue(Handle::KEY_TYPE);
        const CBasicString<WideChar> nameCopy(name), typeCopy(type);
        int number = 0;
        std::int64_t bigNumber = 0;
        double real = 0;
        bool flag = false;
        DB_VERSIONNUMBER version;
        element.GetintProperty(nameCopy, typeCopy, number);
        element.Get__int64Property(nameCopy, typeCopy, bigNumber);
        element.GetdoubleProperty(nameCopy, typeCopy, real);
        element.GetboolProperty(nameCopy, typeCopy, flag);
        element.GetDB_VERSIONNUMBERProperty(nameCopy, typeCopy, version);
        WideChar* text = nullptr;
        std::size_t length = 0;
        element.GetAlpTStringProperty(nameCopy, typeCopy, &text, length);
        Handle::FreeMemory(&text);
        element.IsVECTORProperty(nameCopy, typeCopy);
        element.IsMAPProperty(nameCopy, typeCopy, typeCopy);
        element.IsVariableName(nameCopy);
        for (Handle child = element.GetFirstSubElement(); child.IsDefined();
             child = child.GetNextElement())
            pending.push_back(child);
    }
}

// Each element's name, the attributes of the format and its content, in document order.
CBasicString<WideChar> Tree(Handle root) {
    CBasicString<WideChar> tree;
    std::vector<Handle> pending{root};
    while (!pending.empty()) {
        Handle element = pending.back();
        pending.pop_back();
        tree += element.GetElementName();
        for (const Handle::View attribute :
             {Handle::KEY_TYPE, Handle::VAR_NAME, Handle::VARKEY_TYPE, Handle::VAR_TYPE})
            tree += WIDE("|") + CBasicString<WideChar>(element.GetAttributeValue(attribute));
        tree += WIDE("|") + element.GetContent() + WIDE("\n");
        std::vector<Handle> children;
        for (Handle child = element.GetFirstSubElement(); child.IsDefined();
             child = child.GetNextElement())
            children.push_back(child);
        pending.insert(pending.end(), children.rbegin(), children.rend());
    }
    return tree;
}

// Saved as bytes and as UTF-16 and read again: the same tree, and the same text once more.
template <class Char>
void CheckRoundTrip(Handle& handle) {
    Char* saved = nullptr;
    unsigned long long length = 0;
    if (!handle.SaveToString(&saved, length, true)) return;
    const CBasicString<Char> text(saved, length);
    Handle::FreeMemory(&saved);
    Handle again(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, false);
    FUZZ_CHECK(again.ReadFromString(CBasicStringView<Char>(text)));
    FUZZ_CHECK(Tree(again) == Tree(handle));
    FUZZ_CHECK(again.SaveToString(&saved, length, true));
    FUZZ_CHECK(CBasicString<Char>(saved, length) == text);
    Handle::FreeMemory(&saved);
    again.ReleaseDocument();
}

void ReadAndSave(Handle& handle) {
    char* bytes = nullptr;
    WideChar* wide = nullptr;
    unsigned long long length = 0;
    if (handle.SaveToString(&bytes, length, false)) Handle::FreeMemory(&bytes);
    if (handle.SaveToString(&wide, length, false)) Handle::FreeMemory(&wide);
    CheckRoundTrip<char8_t>(handle);
    CheckRoundTrip<WideChar>(handle);
    ReadEveryElement(handle);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
    // DTDs a document names are looked up in an empty directory of the fuzzer's own.
    Handle::SetDtdDirectory(classxml::fuzz::Wide(classxml::fuzz::ScratchDirectory()),
                            Handle::XMLIOTYPE_XERCES);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const bool typeCheck : {true, false}) {
        Handle utf8(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, typeCheck);
        if (utf8.ReadFromString(CBasicStringView<char>(reinterpret_cast<const char*>(data), size)))
            ReadAndSave(utf8);
        utf8.ReleaseDocument();

        CBasicString<WideChar> units(size / 2, WideChar(0)); // copied: the bytes may be unaligned
        std::memcpy(units.data(), data, units.size() * sizeof(WideChar));
        Handle utf16(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, typeCheck);
        if (utf16.ReadFromString(CBasicStringView<WideChar>(units))) ReadAndSave(utf16);
        utf16.ReleaseDocument();
    }
    return 0;
}
