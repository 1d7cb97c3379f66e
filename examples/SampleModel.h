#pragma once

// A small object model stored as class XML: the sample application and `classxml demo` write
// it, save it, read it back and compare every value.
#include <map>
#include <set>
#include <string>
#include <vector>

#include <classxml/XMLClassReaderWriter/XMLClassReaderWriter.h>

namespace sample {

using Text = CBasicString<WideChar>;

// One member of every scalar family that has a writer.
struct Settings {
    int count = 0;
    std::int32_t offset = 0;
    UINT flags = 0;
    DWORD mask = 0;
    std::uint32_t ulong = 0;
    std::int64_t big = 0;
    std::int64_t modified = 0; // a time_t
    DWORD64 huge = 0;
    DB_ID id;
    bool enabled = false;
    double ratio = 0;
    DB_TIME_TYPE created;
    DB_UTC_TIME_TYPE createdUtc;
    DB_VERSIONNUMBER version;
    Text title;  // AlpTString
    Text color;  // an enumerator's name
    Text unilex; // UnilexString
    Text script; // kept in CDATA sections
};

struct Task {
    Text name;
    std::vector<int> scores;
    std::set<Text> tags;
};

struct Project {
    Settings settings;
    std::vector<Task> tasks;
    std::map<Text, int> limits;
    std::map<int, CBasicString<char8_t>> labels; // UTF-8 values
    Text notes;                                  // a whole text file, stored as one property
    std::string attachment;                      // base64 in a FileTransport element
};

// The project the demo and the example store.
Project MakeProject();

// Writes `project` under `root`, the handle on the document's root element. The notes are
// first written to `notesFile` and stored from there. Returns how many values it wrote.
int Write(const Project& project, CXMLClassReaderWriter& root, const Text& notesFile);

// Reads the project back from `root`. When the document was pre-processed, the attachment's
// element names its side file, which is read instead.
Project Read(CXMLClassReaderWriter& root);

// A line for every value that differs; `compared` counts the values looked at.
std::vector<std::string> Differences(const Project& written, const Project& read, int& compared);

} // namespace sample
