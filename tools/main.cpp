// classxml: inspect, validate and pre-process class-XML files, or watch the library work.
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Commands.h"

namespace {

const char kUsage[] =
    "Usage: classxml COMMAND [ARGUMENTS]\n"
    "\n"
    "  demo [DIR]                  store a sample project as class XML in DIR (a new temporary\n"
    "                              directory by default), validate, pre-process and read it\n"
    "                              back, comparing every value\n"
    "  dump FILE [--dtd-dir DIR]   print the class tree of a class-XML file\n"
    "  validate FILE [--dtd-dir DIR]\n"
    "                              check a file against the DTD it names\n"
    "  preprocess FILE             move base64 blocks of FileTransport elements into side\n"
    "                              files and list them\n"
    "  --help, --version\n"
    "\n"
    "FILE may be - for standard input (not for preprocess, which rewrites a file). Options\n"
    "stand before or after FILE, as --opt VALUE or --opt=VALUE. DTDs are looked up in\n"
    "--dtd-dir, by default in the document's own folder (the current one for standard input).\n"
    "COMMAND --help describes one command.\n"
    "\n"
    "Exit status: 0 success; 1 not well-formed, unreadable, or the operation failed; 2 usage\n"
    "error; 3 well-formed but not valid against its DTD.\n";

struct Command {
    const char* name;
    const char* usage; // the first line of its --help and of its usage errors
    const char* help;
    std::vector<std::string> options;
    std::size_t minOperands, maxOperands;
};

const Command kCommands[] = {
    {"demo",
     "demo [DIR]",
     "Writes a sample project with every value family into DIR, validates it against its\n"
     "DTD, moves its attachment out with pre-read extraction and reads every value back.\n",
     {},
     0,
     1},
    {"dump",
     "dump FILE [--dtd-dir DIR]",
     "Prints the class tree of FILE: classes and containers with their children, properties\n"
     "as name (type) = value. A document that names a DTD is validated against it. The tree\n"
     "is printed as the file is read, in constant memory whatever its size; a document found\n"
     "malformed or invalid further on ends the listing with the error.\n",
     {"dtd-dir"},
     1,
     1},
    {"validate",
     "validate FILE [--dtd-dir DIR]",
     "Parses FILE and validates it against the DTD its DOCTYPE names, looked up in DIR (by\n"
     "default the document's folder). A document without a DOCTYPE is only checked to be\n"
     "well-formed. Exit status 0 valid, 1 not well-formed or unreadable, 3 not valid.\n",
     {"dtd-dir"},
     1,
     1},
    {"preprocess",
     "preprocess FILE",
     "Moves the base64 blocks of FILE's FileTransport elements into side files beside it,\n"
     "rewriting FILE in one step, and lists the files it wrote. FILE must be a file: - (standard\n"
     "input) is not accepted, as there is nothing to rewrite.\n",
     {},
     1,
     1},
};

int Usage(const std::string& problem) {
    std::fprintf(stderr, "classxml: %s (try classxml --help)\n", problem.c_str());
    return 2;
}

std::filesystem::path NewTemporaryDirectory() {
    std::random_device random;
    return std::filesystem::temp_directory_path() /
           ("classxml-demo-" + std::to_string(random() % 1000000));
}

int Run(const Command& command, const classxml::tool::Arguments& arguments) {
    using namespace classxml::tool;
    const std::string name = command.name;
    if (name == "demo")
        return Demo(arguments.operands.empty() ? NewTemporaryDirectory()
                                               : std::filesystem::path(arguments.operands[0]));
    if (name == "preprocess") {
        if (arguments.operands[0] == "-") return Usage("preprocess rewrites a file; - has none");
        return Preprocess(arguments.operands[0]);
    }
    const Input input(arguments.operands[0]);
    const auto dtd = arguments.options.find("dtd-dir");
    const std::filesystem::path dtdDirectory = dtd != arguments.options.end()
                                                   ? std::filesystem::path(dtd->second)
                                                   : input.DefaultDtdDirectory();
    return name == "dump" ? Dump(input, dtdDirectory) : Validate(input, dtdDirectory);
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty()) return Usage("no command given");
    const std::string& name = words[0];
    if (name == "--help" || name == "-h") return std::fputs(kUsage, stdout), 0;
    if (name == "--version") return std::printf("classxml %s\n", CLASSXML_VERSION), 0;
    for (const Command& command : kCommands) {
        if (name != command.name) continue;
        const auto arguments =
            classxml::tool::ParseArguments({words.begin() + 1, words.end()}, command.options);
        if (arguments.help)
            return std::printf("Usage: classxml %s\n\n%s", command.usage, command.help), 0;
        if (!arguments.problem.empty()) return Usage(name + ": " + arguments.problem);
        if (arguments.operands.size() < command.minOperands ||
            arguments.operands.size() > command.maxOperands)
            return Usage(std::string("usage: classxml ") + command.usage);
        try {
            return Run(command, arguments);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "classxml: %s: %s\n", name.c_str(), error.what());
            return 1;
        }
    }
    return Usage("unknown command '" + name + "'");
}
