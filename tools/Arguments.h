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

// `valueOptions` are the options this command takes, each with a value.
Arguments ParseArguments(const std::vector<std::string>& words,
                         const std::vector<std::string>& valueOptions);

// A document operand as a file to parse: "-" is standard input, copied into a temporary file
// that is removed again with this object.
class InputFile {
public:
    explicit InputFile(const std::string& operand);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    // Where relative DTD ids are looked up unless --dtd-dir says otherwise: the document's own
    // folder, the current one for standard input.
    std::filesystem::path DefaultDtdDirectory() const;

private:
    std::filesystem::path m_path;
    bool m_temporary = false;
};

} // namespace classxml::tool
