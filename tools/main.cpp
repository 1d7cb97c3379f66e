// classxml: inspect, validate and pre-process class-XML files, or watch the library work.
#include <algorithm>
#include <cstdio>
#include <optional>
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
    "  dump FILE [--format] [--dtd-dir DIR | --dtdvalid DTD]\n"
    "                              print the class tree of a class-XML file, or with --format\n"
    "                              the document itself, indented\n"
    "  validate FILE... [--dtd-dir DIR | --dtdvalid DTD] [--allow-no-dtd]\n"
    "                              check files against the DTD they name, or against DTD\n"
    "  preprocess FILE             move base64 blocks of FileTransport elements into side\n"
    "                              files and list them\n"
    "  compat OLD.dtd NEW.dtd      tell whether NEW accepts every document OLD accepts\n"
    "  --help, --version\n"
    "\n"
    "FILE may be - for standard input, except for preprocess, which rewrites a file and does\n"
    "not accept -. Options stand before or after FILE, as --opt VALUE or --opt=VALUE. DTDs are\n"
    "looked up in --dtd-dir, by default in the document's own folder (the current one for\n"
    "standard input). COMMAND --help describes one command.\n"
    "\n"
    "Exit status: 0 success; 1 not well-formed, unreadable, or the operation failed; 2 usage\n"
    "error; 3 well-formed but not valid against its DTD, its DTD cannot be found, or (for\n"
    "validate) it names none.\n";

struct Command {
    const char* name;
    const char* usage; // the first line of its --help and of its usage errors
    const char* help;
    std::vector<std::string> options, flags;
    std::size_t minOperands, maxOperands;
};

constexpr std::size_t kAny = std::size_t(-1);

const Command kCommands[] = {
    {"demo",
     "demo [DIR]",
     "Writes a sample project with every value family into DIR, validates it against its\n"
     "DTD, moves its attachment out with pre-read extraction and reads every value back.\n",
     {},
     {},
     0,
     1},
    {"dump",
     "dump FILE [--format] [--dtd-dir DIR | --dtdvalid DTD]",
     "Prints the class tree of FILE: classes and containers with their children, properties\n"
     "as name (type) = value, each value as the archive would load it, with line ends and\n"
     "other control characters escaped (\\n, \\r, \\t, \\xNN). A document that names a DTD\n"
     "is validated against it. The tree is printed as the file is read, in constant memory\n"
     "whatever its size; a document found malformed or invalid further on ends the listing\n"
     "with the error.\n"
     "\n"
     "--format prints the document itself instead, one element a line, indented by its\n"
     "depth, in UTF-8: only the white space between the elements of an element without text\n"
     "of its own changes; every value, an element with both text and elements (mixed content)\n"
     "and all within it, and all within xml:space=\"preserve\" stay as they were. It reads the\n"
     "document twice (standard input or a pipe is copied to a temporary file first).\n"
     "Comments and processing instructions are left out, attributes defaulted from the DTD\n"
     "are written out, and a DOCTYPE with an internal subset, or an XML 1.1 document, is\n"
     "refused.\n",
     {"dtd-dir", "dtdvalid"},
     {"format"},
     1,
     1},
    {"validate",
     "validate FILE... [--dtd-dir DIR | --dtdvalid DTD] [--allow-no-dtd]",
     "Parses each FILE and validates it against the DTD its DOCTYPE names, looked up in DIR\n"
     "(by default the document's folder); with --dtdvalid, against DTD alone instead, whether\n"
     "the document names a DTD or not (the document's own declarations take no part; its\n"
     "entity declarations are still read). A document without a DOCTYPE is not valid, as it\n"
     "has nothing to be validated against: it is reported and counts as invalid (exit 3),\n"
     "unless --allow-no-dtd takes it as valid when it is well-formed. Files are checked in\n"
     "parallel on all cores and reported in the order given; each error shows the line it\n"
     "points at, with a caret under its column (in characters of the file). Exit status 0 all\n"
     "valid, 1 one not well-formed or unreadable, or the DTD of --dtdvalid cannot be read,\n"
     "otherwise 3 one not valid.\n",
     {"dtd-dir", "dtdvalid"},
     {"allow-no-dtd"},
     1,
     kAny},
    {"preprocess",
     "preprocess FILE",
     "Moves the base64 blocks of FILE's FileTransport elements into side files beside it,\n"
     "rewriting FILE in one step, and lists the files it wrote. FILE must be a file: - (standard\n"
     "input) is not accepted, as there is nothing to rewrite.\n",
     {},
     {},
     1,
     1},
    {"compat",
     "compat OLD.dtd NEW.dtd",
     "Tells whether every document valid against OLD.dtd is valid against NEW.dtd: each\n"
     "element's content (as the sequences of children it allows, and whether it takes text)\n"
     "and attributes (declared, required, fixed, their types and choices). Every element\n"
     "declared in OLD counts as a possible root. For each element that loses documents it\n"
     "prints why and the smallest instance that OLD accepts and NEW refuses, each child the\n"
     "smallest OLD allows. DTDs that declare general entities or notations are not compared.\n"
     "Exit status 0 NEW accepts all, 3 it does not, 1 a DTD cannot be read or compared.\n",
     {},
     {},
     2,
     2},
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
    if (name == "compat") return Compat(arguments.operands[0], arguments.operands[1]);
    if (name == "preprocess") {
        if (arguments.operands[0] == "-") return Usage("preprocess rewrites a file; - has none");
        return Preprocess(arguments.operands[0]);
    }
    const auto option = [&](const char* name) -> std::optional<std::string> {
        const auto found = arguments.options.find(name);
        if (found == arguments.options.end()) return std::nullopt;
        return found->second;
    };
    if (option("dtd-dir") && option("dtdvalid"))
        return Usage(name + ": --dtd-dir and --dtdvalid exclude each other");
    std::vector<Input> inputs;
    for (const std::string& operand : arguments.operands)
        inputs.emplace_back(operand);
    if (std::count_if(inputs.begin(), inputs.end(),
                      [](const Input& input) { return input.standardInput; }) > 1)
        return Usage(name + ": standard input (-) can be read only once");
    DtdChoice dtd;
    if (option("dtd-dir")) dtd.dtdDirectory = std::filesystem::path(*option("dtd-dir"));
    if (option("dtdvalid")) {
        dtd.dtdFile = std::filesystem::path(*option("dtdvalid"));
        if (const std::string problem = Unreadable(*dtd.dtdFile); !problem.empty())
            return Fail("cannot read the DTD " + dtd.dtdFile->string(), problem);
    }
    if (name == "dump") return Dump(inputs[0], dtd, option("format").has_value());
    return Validate(inputs, dtd, option("allow-no-dtd").has_value());
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
        const auto arguments = classxml::tool::ParseArguments({words.begin() + 1, words.end()},
                                                              command.options, command.flags);
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
