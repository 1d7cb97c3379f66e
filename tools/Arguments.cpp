#include "Arguments.h"

#include <algorithm>

namespace classxml::tool {

Arguments ParseArguments(const std::vector<std::string>& words,
                         const std::vector<std::string>& valueOptions,
                         const std::vector<std::string>& flags) {
    Arguments arguments;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--help" || word == "-h") {
            arguments.help = true;
        } else if (word.starts_with("--")) {
            const std::size_t equals = word.find('=');
            const std::string name =
                word.substr(2, equals == std::string::npos ? equals : equals - 2);
            const auto known = [&](const std::vector<std::string>& names) {
                return std::find(names.begin(), names.end(), name) != names.end();
            };
            if (known(flags) && equals == std::string::npos) {
                arguments.options[name] = "";
            } else if (!known(valueOptions)) {
                arguments.problem = "unknown option '--" + name + "'";
            } else if (equals != std::string::npos) {
                arguments.options[name] = word.substr(equals + 1);
            } else if (i + 1 < words.size()) {
                arguments.options[name] = words[++i];
            } else {
                arguments.problem = "--" + name + " needs a value";
            }
        } else {
            arguments.operands.push_back(word); // "-" included: standard input
        }
    }
    return arguments;
}

} // namespace classxml::tool
