#include "SampleModel.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace sample {
namespace {

using Handle = CXMLClassReaderWriter;

std::filesystem::path PathOf(const Text& text) {
    return std::filesystem::path(std::u16string(text.begin(), text.end()));
}

// The text of a string property as an owned string (readers hand out arrays to free).
Text ReadText(bool (Handle::*reader)(const Handle::View&, const Handle::View&, WideChar**,
                                     std::size_t&),
              Handle& element, const WideChar* name, const WideChar* type) {
    WideChar* text = nullptr;
    std::size_t length = 0;
    (element.*reader)(name, type, &text, length);
    Text result(text ? text : WIDE(""), length);
    Handle::FreeMemory(&text);
    return result;
}

} // namespace

Project MakeProject() {
    Project project;
    Settings& s = project.settings;
    s.count = 42;
    s.offset = -7;
    s.flags = 0x8001;
    s.mask = 0xFFFF0000u;
    s.ulong = 4000000000u;
    s.big = -9000000000000000000;
    s.modified = 1795000000;
    s.huge = 18000000000000000000u;
    s.id = DB_ID(123456789012345);
    s.enabled = true;
    s.ratio = 0.1 + 0.2;
    s.created = DB_TIME_TYPE(46000.75);
    s.createdUtc = DB_UTC_TIME_TYPE(46000.625);
    s.version = DB_VERSIONNUMBER(2.05);
    s.title = WIDE("Bridge survey \u00E9t\u00E9 2026");
    s.color = WIDE("eColorRed");
    s.unilex = WIDE("\u00DCbersicht & Plan");
    s.script = WIDE("if (a < b && c > d) { /* ]]> stays */ }");
    project.tasks = {
        {WIDE("Measure"), {7, 9, 10}, {WIDE("field"), WIDE("urgent")}},
        {WIDE("Report <draft>"), {}, {WIDE("office")}},
    };
    project.limits = {{WIDE("load"), 40}, {WIDE("span"), 120}};
    project.labels = {{1, u8"Br\u00FCcke"}, {2, u8"\u6A4B"}};
    project.notes = WIDE("Checked on site: cracks < 0.2 mm & no corrosion.");
    project.attachment = "SGVsbG8sIGNsYXNzeG1sISBUaGlzIGlzIGFuIGVtYmVkZGVkIGZpbGUu\n"
                         "U2Vjb25kIGxpbmUgb2YgdGhlIGF0dGFjaG1lbnQu\n";
    return project;
}

int Write(const Project& project, Handle& root, const Text& notesFile) {
    int values = 0;
    const Settings& s = project.settings;
    Handle settings = root.CreateClass(WIDE("Settings"), WIDE("settings"));
    settings.AddintProperty(WIDE("count"), WIDE("int"), s.count);
    settings.AddlongProperty(WIDE("offset"), WIDE("long"), s.offset);
    settings.AddUINTProperty(WIDE("flags"), WIDE("UINT"), s.flags);
    settings.AddDWORDProperty(WIDE("mask"), WIDE("DWORD"), s.mask);
    settings.AddUlongProperty(WIDE("ulong"), WIDE("Ulong"), s.ulong);
    settings.Add__int64Property(WIDE("big"), WIDE("__int64"), s.big);
    settings.Addtime_tProperty(WIDE("modified"), WIDE("time_t"), s.modified);
    settings.AddDWORD64Property(WIDE("huge"), WIDE("DWORD64"), s.huge);
    settings.AddDB_IDProperty(WIDE("id"), WIDE("DB_ID"), s.id);
    settings.AddboolProperty(WIDE("enabled"), WIDE("bool"), s.enabled);
    settings.AdddoubleProperty(WIDE("ratio"), WIDE("double"), s.ratio);
    settings.AddDB_TIME_TYPEProperty(WIDE("created"), WIDE("DB_TIME_TYPE"), s.created);
    settings.AddDB_UTC_TIME_TYPEProperty(WIDE("createdUtc"), WIDE("DB_UTC_TIME_TYPE"),
                                         s.createdUtc);
    settings.AddDB_VERSIONNUMBERProperty(WIDE("version"), WIDE("DB_VERSIONNUMBER"), s.version);
    settings.AddAlpTStringProperty(WIDE("title"), WIDE("AlpTString"), s.title);
    settings.AddENUMProperty(WIDE("color"), WIDE("EColor"), s.color);
    settings.AddUnilexStringProperty(WIDE("unilex"), WIDE("UnilexString"), s.unilex);
    settings.AddStringAsCDATAProperty(WIDE("script"), WIDE("StringAsCDATA"), s.script);
    values += 18;

    for (const Task& task : project.tasks) {
        Handle element = root.CreateClass(WIDE("Task"), task.name);
        element.AddAlpTStringProperty(WIDE("name"), WIDE("AlpTString"), task.name);
        Handle scores = element.AddVECTORProperty(WIDE("scores"), WIDE("int"));
        for (const int score : task.scores)
            scores.AddintVECTORProperty(WIDE("item"), WIDE("int"), score);
        Handle tags = element.AddSETProperty(WIDE("tags"), WIDE("AlpTString"));
        for (const Text& tag : task.tags)
            tags.AddAlpTStringSETProperty(WIDE("item"), WIDE("AlpTString"), tag);
        values += 1 + int(task.scores.size() + task.tags.size());
    }

    // A map's entries are the application's own: here a key element followed by a value.
    Handle limits = root.AddMAPProperty(WIDE("limits"), WIDE("AlpTString"), WIDE("int"));
    for (const auto& [key, value] : project.limits) {
        limits.AddAlpTStringMAPProperty(WIDE("key"), WIDE("AlpTString"), key);
        limits.AddintMAPProperty(WIDE("value"), WIDE("int"), value);
    }
    Handle labels = root.AddMAPProperty(WIDE("labels"), WIDE("int"), WIDE("CUTF8String"));
    for (const auto& [key, value] : project.labels) {
        labels.AddintMAPProperty(WIDE("key"), WIDE("int"), key);
        labels.AddCUTF8StringMAPProperty(WIDE("value"), WIDE("CUTF8String"), value);
    }
    values += 2 * int(project.limits.size() + project.labels.size());

    std::ofstream(PathOf(notesFile), std::ios::binary)
        << std::string(project.notes.begin(), project.notes.end()); // ASCII notes
    root.AddFileContentProperty(WIDE("notes"), WIDE("file"), notesFile);

    // An attachment as base64 text that PreprocessReading moves out before the file is parsed.
    Handle transport = root.AddElementAttributesContent(WIDE("FileTransport"),
                                                        {{WIDE("name"), WIDE("readme.txt")}});
    const Text base64(project.attachment.begin(), project.attachment.end());
    transport.AddElementAttributesContent(WIDE("fileContent"), {}, base64);
    return values + 2;
}

namespace {

// The attachment's base64 text, from the document or, after PreprocessReading, from the side
// file whose path the element holds instead.
std::string ReadAttachment(Handle& root) {
    const Text content = root.GetFirstSubElement(WIDE("FileTransport"))
                             .GetFirstSubElement(WIDE("fileContent"))
                             .GetContent();
    const std::filesystem::path side = PathOf(content);
    if (side.extension() == ".base64" && std::filesystem::exists(side)) {
        std::ifstream in(side, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    return std::string(content.begin(), content.end());
}

} // namespace

Project Read(Handle& root) {
    Project project;
    Settings& s = project.settings;
    Handle p = root.GetFirstSubElement(WIDE("Settings")).GetFirstSubElement();
    // Each reader checks the element it stands on, then the walk moves to the next one.
    p.GetintProperty(WIDE("count"), WIDE("int"), s.count);
    (p = p.GetNextElement()).GetlongProperty(WIDE("offset"), WIDE("long"), s.offset);
    (p = p.GetNextElement()).GetUINTProperty(WIDE("flags"), WIDE("UINT"), s.flags);
    (p = p.GetNextElement()).GetDWORDProperty(WIDE("mask"), WIDE("DWORD"), s.mask);
    (p = p.GetNextElement()).GetUlongProperty(WIDE("ulong"), WIDE("Ulong"), s.ulong);
    (p = p.GetNextElement()).Get__int64Property(WIDE("big"), WIDE("__int64"), s.big);
    (p = p.GetNextElement()).Gettime_tProperty(WIDE("modified"), WIDE("time_t"), s.modified);
    (p = p.GetNextElement()).GetDWORD64Property(WIDE("huge"), WIDE("DWORD64"), s.huge);
    (p = p.GetNextElement()).GetDB_IDProperty(WIDE("id"), WIDE("DB_ID"), s.id);
    (p = p.GetNextElement()).GetboolProperty(WIDE("enabled"), WIDE("bool"), s.enabled);
    (p = p.GetNextElement()).GetdoubleProperty(WIDE("ratio"), WIDE("double"), s.ratio);
    (p = p.GetNextElement())
        .GetDB_TIME_TYPEProperty(WIDE("created"), WIDE("DB_TIME_TYPE"), s.created);
    (p = p.GetNextElement())
        .GetDB_UTC_TIME_TYPEProperty(WIDE("createdUtc"), WIDE("DB_UTC_TIME_TYPE"), s.createdUtc);
    (p = p.GetNextElement())
        .GetDB_VERSIONNUMBERProperty(WIDE("version"), WIDE("DB_VERSIONNUMBER"), s.version);
    s.title = ReadText(&Handle::GetAlpTStringProperty, p = p.GetNextElement(), WIDE("title"),
                       WIDE("AlpTString"));
    s.color =
        ReadText(&Handle::GetENUMProperty, p = p.GetNextElement(), WIDE("color"), WIDE("EColor"));
    s.unilex = ReadText(&Handle::GetUnilexStringProperty, p = p.GetNextElement(), WIDE("unilex"),
                        WIDE("UnilexString"));
    s.script = ReadText(&Handle::GetStringAsCDATAProperty, p = p.GetNextElement(), WIDE("script"),
                        WIDE("StringAsCDATA"));

    for (Handle task = root.GetFirstSubElement(WIDE("Task")); task.IsDefined();
         task = task.GetNextElement(WIDE("Task"))) {
        Task& read = project.tasks.emplace_back();
        Handle name = task.GetFirstSubElement(WIDE("name"));
        read.name =
            ReadText(&Handle::GetAlpTStringProperty, name, WIDE("name"), WIDE("AlpTString"));
        Handle scores = name.GetNextElement(WIDE("scores"));
        if (scores.IsVECTORProperty(WIDE("scores"), WIDE("int")))
            for (Handle item = scores.GetFirstSubElement(); item.IsDefined();
                 item = item.GetNextElement())
                item.GetintVECTORProperty(WIDE("item"), WIDE("int"), read.scores.emplace_back());
        Handle tags = scores.GetNextElement(WIDE("tags"));
        if (tags.IsSETProperty(WIDE("tags"), WIDE("AlpTString")))
            for (Handle item = tags.GetFirstSubElement(); item.IsDefined();
                 item = item.GetNextElement())
                read.tags.insert(ReadText(&Handle::GetAlpTStringSETProperty, item, WIDE("item"),
                                          WIDE("AlpTString")));
    }

    Handle limits = root.GetFirstSubElement(WIDE("limits"));
    if (limits.IsMAPProperty(WIDE("limits"), WIDE("AlpTString"), WIDE("int")))
        for (Handle key = limits.GetFirstSubElement(WIDE("key")); key.IsDefined();
             key = key.GetNextElement(WIDE("key"))) {
            int value = 0;
            key.GetNextElement(WIDE("value")).GetintMAPProperty(WIDE("value"), WIDE("int"), value);
            project.limits[ReadText(&Handle::GetAlpTStringMAPProperty, key, WIDE("key"),
                                    WIDE("AlpTString"))] = value;
        }
    Handle labels = root.GetFirstSubElement(WIDE("labels"));
    if (labels.IsMAPProperty(WIDE("labels"), WIDE("int"), WIDE("CUTF8String")))
        for (Handle key = labels.GetFirstSubElement(WIDE("key")); key.IsDefined();
             key = key.GetNextElement(WIDE("key"))) {
            int number = 0;
            key.GetintMAPProperty(WIDE("key"), WIDE("int"), number);
            char8_t* text = nullptr;
            std::size_t length = 0;
            key.GetNextElement(WIDE("value"))
                .GetCUTF8StringProperty(WIDE("value"), WIDE("CUTF8String"), &text, length);
            project.labels[number] = CBasicString<char8_t>(text ? text : u8"", length);
            Handle::FreeMemory(&text);
        }

    Handle notes = root.GetFirstSubElement(WIDE("notes"));
    project.notes = ReadText(&Handle::GetAlpTStringProperty, notes, WIDE("notes"), WIDE("file"));

    project.attachment = ReadAttachment(root);
    return project;
}

std::vector<std::string> Differences(const Project& a, const Project& b, int& compared) {
    std::vector<std::string> differences;
    compared = 0;
    const auto shape = [&](bool equal, const char* what) {
        if (!equal) differences.emplace_back(what);
    };
    const auto check = [&](bool equal, const char* what) {
        ++compared;
        shape(equal, what);
    };
    const Settings& x = a.settings;
    const Settings& y = b.settings;
    check(x.count == y.count, "count");
    check(x.offset == y.offset, "offset");
    check(x.flags == y.flags, "flags");
    check(x.mask == y.mask, "mask");
    check(x.ulong == y.ulong, "ulong");
    check(x.big == y.big, "big");
    check(x.modified == y.modified, "modified");
    check(x.huge == y.huge, "huge");
    check(x.id == y.id, "id");
    check(x.enabled == y.enabled, "enabled");
    check(x.ratio == y.ratio, "ratio");
    check(x.created == y.created, "created");
    check(x.createdUtc == y.createdUtc, "createdUtc");
    check(x.version == y.version, "version");
    check(x.title == y.title, "title");
    check(x.color == y.color, "color");
    check(x.unilex == y.unilex, "unilex");
    check(x.script == y.script, "script");
    shape(a.tasks.size() == b.tasks.size(), "number of tasks");
    for (std::size_t i = 0; i < std::min(a.tasks.size(), b.tasks.size()); ++i) {
        check(a.tasks[i].name == b.tasks[i].name, "task name");
        for (std::size_t k = 0; k < std::max(a.tasks[i].scores.size(), b.tasks[i].scores.size());
             ++k)
            check(k < a.tasks[i].scores.size() && k < b.tasks[i].scores.size() &&
                      a.tasks[i].scores[k] == b.tasks[i].scores[k],
                  "task score");
        for (const Text& tag : a.tasks[i].tags)
            check(b.tasks[i].tags.count(tag) == 1, "task tag");
        shape(a.tasks[i].tags.size() == b.tasks[i].tags.size(), "number of task tags");
    }
    for (const auto& [key, value] : a.limits) {
        const auto found = b.limits.find(key);
        check(found != b.limits.end(), "limit key");
        check(found != b.limits.end() && found->second == value, "limit value");
    }
    for (const auto& [key, value] : a.labels) {
        const auto found = b.labels.find(key);
        check(found != b.labels.end(), "label key");
        check(found != b.labels.end() && found->second == value, "label value");
    }
    check(a.notes == b.notes, "notes");
    check(a.attachment == b.attachment, "attachment");
    return differences;
}

} // namespace sample
