// Kills each save path of the library, and the pre-read extraction, at every call that changes a
// file, and then checks that nothing was lost: once the next load of the file has run (which
// undoes what a save cut short left), the target holds its old document or the whole new one,
// and every side file the document names holds its block. Each point is checked twice: as the
// kill left the files, and as a power loss right then would (files not synced since they were
// last written come back empty). Files left over must be no more readable than the target.
//
//   crash_harness             every scenario; exit status 1 when anything was lost or exposed
//   crash_harness --run S D   (itself, in a child) runs scenario S in folder D
//
// Linux only: the calls are caught by an interposed library (Interpose.cpp) through LD_PRELOAD.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/archive/Archive.h"
#include "classxml/platform/Utf.h"

namespace {

namespace fs = std::filesystem;
using Handle = CXMLClassReaderWriter;

constexpr const char* kTarget = "doc.xml";
constexpr int kCrashed = 99;

std::string Read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void Write(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

CBasicString<WideChar> Wide(const fs::path& path) {
    return classxml::platform::Utf8ToUtf16(path.u8string());
}

struct Record {
    std::string name;
    std::vector<double> readings;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(name), CLASSXML_NVP(readings));
    }
};

struct Log {
    std::vector<Record> records;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(records));
    }
};

Log MakeLog() {
    Log log;
    for (int i = 0; i < 400; ++i)
        log.records.push_back({"record " + std::to_string(i), std::vector<double>(20, i / 7.0)});
    return log;
}

// A document of three base64 blocks, for the extraction.
std::string Transport() {
    std::string xml = "<r>\n";
    for (int block = 0; block < 3; ++block)
        xml += "<FileTransport><fileContent>" + std::string(100'000, char('A' + block)) +
               "</fileContent></FileTransport>\n";
    return xml + "</r>\n";
}

struct Scenario {
    const char* name;
    std::string old;                          // the target's text before, empty: no target
    std::function<bool(const fs::path&)> run; // in the child
    bool extraction = false;
    bool linked = false; // the target has a second link, so that it is written in place
};

std::vector<Scenario> Scenarios() {
    const auto save = [](classxml::Engine engine) {
        return [engine](const fs::path& folder) {
            return bool(classxml::SaveToFile((folder / kTarget).string(), MakeLog(), engine));
        };
    };
    const std::string old = "<?xml version=\"1.0\"?><Log>the old document</Log>";
    return {
        {"the handle's SaveToFile", old,
         [](const fs::path& folder) {
             Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
             root.CreateDocument(WIDE("Log"), {}, {});
             for (int i = 0; i < 5000; ++i)
                 root.AddintProperty(WIDE("n"), WIDE("int"), i);
             const bool saved = root.SaveToFile(Wide(folder / kTarget));
             root.ReleaseDocument();
             return saved;
         }},
        {"a new file by the handle", "",
         [](const fs::path& folder) {
             Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
             root.CreateDocument(WIDE("Log"), {}, {});
             root.AddintProperty(WIDE("n"), WIDE("int"), 1);
             const bool saved = root.SaveToFile(Wide(folder / kTarget));
             root.ReleaseDocument();
             return saved;
         }},
        {"the archive on the DOM engine", old, save(classxml::Engine::Dom)},
        {"in place (a second link)", old, save(classxml::Engine::Stream), false, true},
        {"the archive on the stream engine", old, save(classxml::Engine::Stream)},
        {"ObjectWriter", old,
         [](const fs::path& folder) {
             classxml::ObjectWriter out(classxml::InFile{(folder / kTarget).string()}, "Records");
             for (const Record& record : MakeLog().records)
                 out.Write(record);
             return bool(out.Finish());
         }},
        {"SaveDtd", old,
         [](const fs::path& folder) {
             return bool(classxml::SaveDtd<Log>((folder / kTarget).string()));
         }},
        {"pre-read extraction", Transport(),
         [](const fs::path& folder) {
             return Handle::PreprocessReading(Wide(folder / kTarget), nullptr, nullptr);
         },
         true},
    };
}

// Runs `scenario` in a child process with the interposed library, stopped at call `at` (0: not
// stopped, only counted), or with that call failing; its exit status.
int RunChild(const char* self, const Scenario& scenario, const fs::path& folder, long at,
             const fs::path& log, bool fail = false) {
    const pid_t child = fork();
    if (child == 0) {
        setenv("LD_PRELOAD", CLASSXML_CRASH_INTERPOSE, 1);
        if (fail) setenv("CLASSXML_CRASH_FAIL", "1", 1);
        setenv("CLASSXML_CRASH_AT", std::to_string(at).c_str(), 1);
        setenv("CLASSXML_CRASH_LOG", log.c_str(), 1);
        execl(self, self, "--run", scenario.name, folder.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
}

// The files the interposed library saw written and not synced since, by device and inode.
std::set<std::pair<unsigned long, unsigned long>> Unsynced(const fs::path& log, long& count) {
    std::map<std::pair<unsigned long, unsigned long>, bool> dirty;
    std::ifstream in(log);
    std::string kind;
    while (in >> kind) {
        if (kind == "N") {
            in >> count;
            continue;
        }
        unsigned long device = 0, inode = 0;
        in >> device >> inode;
        dirty[{device, inode}] = kind == "W";
    }
    std::set<std::pair<unsigned long, unsigned long>> unsynced;
    for (const auto& [file, isDirty] : dirty)
        if (isDirty) unsynced.insert(file);
    return unsynced;
}

// A power loss now: files written and not synced since come back empty.
void LosePower(const fs::path& folder,
               const std::set<std::pair<unsigned long, unsigned long>>& unsynced) {
    for (const auto& entry : fs::directory_iterator(folder)) {
        struct stat status {};
        if (::stat(entry.path().c_str(), &status) == 0 &&
            unsynced.count({(unsigned long)status.st_dev, (unsigned long)status.st_ino}))
            fs::resize_file(entry.path(), 0);
    }
}

constexpr const char* kLink = "link.xml";

// The next load of the target, as an application would make it.
void LoadOnce(const fs::path& folder) {
    Log log;
    classxml::LoadFromFile((folder / kTarget).string(), log);
}

// Whether the target holds a whole document: the old one, or the new one; for the extraction,
// the original or its rewritten form whose every side file holds its block (named in `named`,
// the folder the files were written in). A second link holds what the target holds.
bool Whole(const Scenario& scenario, const fs::path& folder, const std::string& complete,
           const fs::path& named) {
    const std::string now = Read(folder / kTarget);
    if (scenario.linked && fs::exists(folder / kLink) && Read(folder / kLink) != now) return false;
    if (now == scenario.old && (!scenario.old.empty() || !fs::exists(folder / kTarget)))
        return true;
    if (!scenario.extraction) return now == complete;
    std::string rebuilt = now;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() != ".base64") continue;
        const std::string name = (named / entry.path().filename()).string();
        const std::size_t at = rebuilt.find(name);
        if (at != std::string::npos) rebuilt.replace(at, name.size(), Read(entry));
    }
    return rebuilt == scenario.old && now != scenario.old;
}

// Files that are wider than the target (0600): what a crash left open to others.
int Exposed(const fs::path& folder) {
    int exposed = 0;
    for (const auto& entry : fs::directory_iterator(folder))
        if ((fs::status(entry).permissions() & (fs::perms::group_all | fs::perms::others_all)) !=
            fs::perms::none)
            ++exposed;
    return exposed;
}

void Prepare(const Scenario& scenario, const fs::path& folder) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    if (scenario.old.empty()) return;
    Write(folder / kTarget, scenario.old);
    fs::permissions(folder / kTarget, fs::perms::owner_read | fs::perms::owner_write);
    if (scenario.linked) fs::create_hard_link(folder / kTarget, folder / kLink);
}

// Files beside the target that it does not need.
int LeftOver(const Scenario& scenario, const fs::path& folder) {
    int left = 0;
    for (const auto& entry : fs::directory_iterator(folder))
        left += entry.path().filename() != kTarget &&
                !(scenario.linked && entry.path().filename() == kLink);
    return left;
}

} // namespace

int main(int argc, char** argv) {
    Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
    if (argc == 4 && std::string(argv[1]) == "--run") {
        for (const Scenario& scenario : Scenarios())
            if (scenario.name == std::string(argv[2])) return scenario.run(argv[3]) ? 0 : 1;
        return 2;
    }
    const fs::path work =
        fs::temp_directory_path() / ("classxml-crash-" + std::to_string(getpid()));
    const fs::path folder = work / "files", log = work / "calls.log";
    bool safe = true;
    std::printf("%-34s %7s %12s %12s %9s %8s %14s\n", "save path", "points", "lost (kill)",
                "lost (power)", "left over", "exposed", "wrong answers");
    for (const Scenario& scenario : Scenarios()) {
        Prepare(scenario, folder);
        fs::remove(log);
        long points = 0;
        if (RunChild(argv[0], scenario, folder, 0, log) != 0) {
            std::printf("%-34s failed without a crash\n", scenario.name);
            safe = false;
            continue;
        }
        Unsynced(log, points);
        const std::string complete = Read(folder / kTarget);
        int lostKill = 0, lostPower = 0, leftOver = 0, exposed = 0, wrong = 0;
        for (long at = 1; at <= points; ++at) {
            // The call failing: either answer must leave a whole document, and a save's true
            // must stand for the new one (the extraction answers whether it moved every block,
            // and leaves the original where the last step fails).
            Prepare(scenario, folder);
            const int answer = RunChild(argv[0], scenario, folder, at, log, true);
            LoadOnce(folder);
            const bool saved = answer == 0 && Read(folder / kTarget) != scenario.old;
            wrong += !Whole(scenario, folder, complete, folder) || answer > 1 ||
                     (answer == 0 && !saved && !scenario.old.empty() && !scenario.extraction);

            Prepare(scenario, folder);
            fs::remove(log);
            if (RunChild(argv[0], scenario, folder, at, log) != kCrashed) continue;
            long ignored = 0;
            const auto unsynced = Unsynced(log, ignored);
            if (!scenario.old.empty()) exposed += Exposed(folder);
            // As the kill left it, on a copy; then as a power loss would have left it.
            const fs::path killed = work / "killed";
            fs::remove_all(killed);
            fs::copy(folder, killed, fs::copy_options::recursive);
            if (scenario.linked) { // the copy of a second link is a link again
                fs::remove(killed / kLink);
                fs::create_hard_link(killed / kTarget, killed / kLink);
            }
            LoadOnce(killed);
            lostKill += !Whole(scenario, killed, complete, folder);
            leftOver += LeftOver(scenario, killed);
            LosePower(folder, unsynced);
            LoadOnce(folder);
            lostPower += !Whole(scenario, folder, complete, folder);
        }
        std::printf("%-34s %7ld %12d %12d %9d %8d %14d\n", scenario.name, points, lostKill,
                    lostPower, leftOver, exposed, wrong);
        safe = safe && lostKill == 0 && lostPower == 0 && exposed == 0 && wrong == 0;
    }
    fs::remove_all(work);
    std::printf("%s\n", safe ? "nothing lost" : "SOMETHING WAS LOST, EXPOSED OR MISREPORTED");
    return safe ? 0 : 1;
}
