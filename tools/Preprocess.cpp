// classxml preprocess: moves the base64 blocks of a file into side files.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

#include "Commands.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/platform/StandardError.h"

namespace classxml::tool {
namespace {

// On a terminal, a large file shows how far its extraction is: what has been written beside
// it (the side files and the rewritten document) against its size, redrawn a few times a
// second and cleared at the end. Pipes and logs get nothing.
class ExtractionProgress {
public:
    ExtractionProgress(const std::filesystem::path& file, const std::filesystem::path& directory)
        : m_directory(directory), m_before(Files(directory)) {
        std::error_code error;
        m_total = std::filesystem::file_size(file, error);
        if (error || m_total < kLarge || !platform::StandardErrorIsTerminal()) return;
        m_watcher = std::thread([this] { Watch(); });
    }
    ~ExtractionProgress() {
        if (!m_watcher.joinable()) return;
        {
            const std::lock_guard lock(m_mutex);
            m_done = true;
        }
        m_wake.notify_one();
        m_watcher.join();
        m_line.Clear();
    }

private:
    static constexpr std::uintmax_t kLarge = 16u << 20;

    static std::set<std::filesystem::path> Files(const std::filesystem::path& directory) {
        std::set<std::filesystem::path> files;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(directory, error))
            files.insert(entry.path());
        return files;
    }
    void Watch() {
        std::unique_lock lock(m_mutex);
        do {
            std::uintmax_t written = 0;
            for (const auto& path : Files(m_directory)) {
                std::error_code error;
                if (!m_before.count(path)) written += std::filesystem::file_size(path, error);
            }
            char text[80];
            std::snprintf(text, sizeof text, "preprocessed %.1f / %.1f MiB",
                          double(std::min(written, m_total)) / (1 << 20),
                          double(m_total) / (1 << 20));
            m_line.Show(text);
        } while (!m_wake.wait_for(lock, std::chrono::milliseconds(250), [this] { return m_done; }));
    }

    std::filesystem::path m_directory;
    std::set<std::filesystem::path> m_before;
    std::uintmax_t m_total = 0;
    platform::ProgressLine m_line;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_done = false;
    std::thread m_watcher;
};

} // namespace

int Preprocess(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return Fail(file.string(), "no such file");
    if (status.type() != std::filesystem::file_type::regular)
        return Fail(file.string(), "not a file: preprocess rewrites a file in place");
    const std::filesystem::path directory =
        file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    const auto before = SideFiles(directory);
    bool complete = false;
    {
        const ExtractionProgress progress(file, directory);
        complete = CXMLClassReaderWriter::PreprocessReading(Wide(file), nullptr, nullptr);
    }
    std::size_t moved = 0;
    for (const auto& side : SideFiles(directory)) {
        if (before.count(side)) continue;
        std::printf("  %s (%ju bytes)\n", side.string().c_str(),
                    std::uintmax_t(std::filesystem::file_size(side)));
        ++moved;
    }
    std::printf("%zu base64 block%s moved out of %s\n", moved, moved == 1 ? "" : "s",
                file.string().c_str());
    if (!complete)
        return Fail(file.string(),
                    "stopped at an incomplete FileTransport element or a file error");
    return 0;
}

} // namespace classxml::tool
