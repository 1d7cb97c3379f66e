// classxml: inspect, validate and pre-process class-XML files, or watch the library work.
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "Commands.h"

namespace {

const char kUsage[] =
    "Usage: classxml COMMAND [ARGUMENTS]\n"
    "\n"
    "  demo [DIR]                      store a sample project as class XML in DIR (a new\n"
    "                                  temporary directory by default), validate, pre-process\n"
    "                                  and read it back, comparing every value\n"
    "  dump FILE [--dtd-dir DIR]       print the class tree of a class-XML file\n"
    "  validate FILE --dtd-dir DIR     check a file against its DTD from DIR\n"
    "  preprocess FILE                 move base64 blocks of FileTransport elements into\n"
    "                                  side files and list them\n"
    "  --help, --version\n"
    "\n"
    "Exit status: 0 success, 1 invalid file or failed operation, 2 usage error.\n";

int Usage(const std::string& problem) {
    std::fprintf(stderr, "classxml: %s (try classxml --help)\n", problem.c_str());
    return 2;
}

std::filesystem::path NewTemporaryDirectory() {
    std::random_device random;
    return std::filesystem::temp_directory_path() /
           ("classxml-demo-" + std::to_string(random() % 1000000));
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) return Usage("no command given");
    const std::string& command = args[0];
    try {
        if (command == "--help" || command == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (command == "--version") {
            std::printf("classxml %s\n", CLASSXML_VERSION);
            return 0;
        }
        if (command == "demo") {
            if (args.size() > 2) return Usage("demo takes at most one directory");
            return classxml::tool::Demo(args.size() == 2 ? std::filesystem::path(args[1])
                                                         : NewTemporaryDirectory());
        }
        if (command == "dump") {
            if (args.size() == 2) return classxml::tool::Dump(args[1], nullptr);
            if (args.size() == 4 && args[2] == "--dtd-dir") {
                const std::filesystem::path directory = args[3];
                return classxml::tool::Dump(args[1], &directory);
            }
            return Usage("dump takes FILE [--dtd-dir DIR]");
        }
        if (command == "validate") {
            if (args.size() != 4 || args[2] != "--dtd-dir")
                return Usage("validate takes FILE --dtd-dir DIR");
            return classxml::tool::Validate(args[1], args[3]);
        }
        if (command == "preprocess") {
            if (args.size() != 2) return Usage("preprocess takes one FILE");
            return classxml::tool::Preprocess(args[1]);
        }
        return Usage("unknown command '" + command + "'");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "classxml: %s: %s\n", command.c_str(), error.what());
        return 1;
    }
}
