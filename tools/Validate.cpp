// classxml validate: parses files with DTD validation, several at a time.
#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "Commands.h"
#include "classxml/platform/StandardError.h"

namespace classxml::tool {
namespace {

Report ValidateOne(const Input& input, const DtdChoice& dtd, bool allowNoDtd) {
    Report report;
    std::string docType;
    ReadDocument(
        input, dtd,
        [&](const StreamReader& reader, auto) {
            if (docType.empty()) docType = Narrow(reader.DocTypeName());
        },
        report);
    if (report.status != 0) return report;
    if (dtd.dtdFile) {
        report.out = input.Name() + " is valid against " + dtd.dtdFile->string() + "\n";
    } else if (docType.empty() && allowNoDtd) {
        report.out = input.Name() + " is well-formed; it names no DTD, so nothing was validated\n";
    } else if (docType.empty()) {
        report.err =
            "classxml: " + input.Name() +
            ": names no DTD, so nothing was validated (--allow-no-dtd takes it as valid)\n";
        report.status = 3;
    } else {
        report.out = input.Name() + " is valid (" + docType + ", DTD from " +
                     dtd.DirectoryFor(input).string() + ")\n";
    }
    return report;
}

// 1 (unreadable, not well-formed) is worse than 3 (not valid), which is worse than 0.
int Rank(int status) { return status == 1 ? 2 : status == 3 ? 1 : 0; }

} // namespace

int Validate(const std::vector<Input>& inputs, const DtdChoice& dtd, bool allowNoDtd) {
    std::vector<Report> reports(inputs.size());
    std::atomic<std::size_t> next = 0;
    // On a terminal, many files show how far the run is; pipes and logs get the verdicts alone.
    const bool progress = inputs.size() > 1 && platform::StandardErrorIsTerminal();
    platform::ProgressLine line;
    std::mutex lineMutex;
    std::size_t done = 0;
    const auto work = [&] {
        for (std::size_t i; (i = next++) < inputs.size();) {
            reports[i] = ValidateOne(inputs[i], dtd, allowNoDtd);
            if (!progress) continue;
            const std::lock_guard<std::mutex> lock(lineMutex);
            line.Show("validated " + std::to_string(++done) + " / " +
                      std::to_string(inputs.size()) + " files");
        }
    };
    const std::size_t threads =
        std::min<std::size_t>(inputs.size(), std::max(1u, std::thread::hardware_concurrency()));
    std::vector<std::thread> workers;
    for (std::size_t t = 1; t < threads; ++t)
        workers.emplace_back(work);
    work();
    for (std::thread& worker : workers)
        worker.join();
    if (progress) line.Clear();
    int worst = 0;
    for (const Report& report : reports) {
        report.Print();
        if (Rank(report.status) > Rank(worst)) worst = report.status;
    }
    return worst;
}

} // namespace classxml::tool
