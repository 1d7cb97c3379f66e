#pragma once

// The command line after the command word: FILE operands and options in any order, each
// option as "--name value" or "--name=value".
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace classxml::tool {

struct Arguments {
    std::vector<std::string> operands;
    std::map<std::string, std::string> options; // by name, without the dashes
    bool help = false;                          // --help or -h
    std::string problem;                        // a usage error, if any
};

// `valueOptions` are the options this command takes with a value, `flags` those it takes
// without one (kept with an empty value).
Arguments ParseArguments(const std::vector<std::string>& words,
                         const std::vector<std::string>& valueOptions,
                         const std::vector<std::string>& flags = {});

// A document operand: a file, or "-" for standard input, which is read as a stream.
struct Input {
    explicit Input(const std::string& operand)
        : standardInput(operand == "-"), path(standardInput ? "" : operand) {}

    bool standardInput;
    std::filesystem::path path; // empty for standard input
    std::string shownAs;        // how messages name it, when not as above
    // How messages name it.
    std::string Name() const {
        return !shownAs.empty() ? shownAs : standardInput ? "standard input" : path.string();
    }
    // Where relative DTD ids are looked up unless --dtd-dir says otherwise: the document's own
    // folder, the current one for standard input.
    std::filesystem::path DefaultDtdDirectory() const {
        return !standardInput && path.has_parent_path() ? path.parent_path() : ".";
    }
};

} // namespace classxml::tool
