// classxml demo: the library's whole job on the sample project, with an account of each step.
#include <cstdio>
#include <fstream>
#include <set>

#include "Commands.h"
#include "SampleDtd.h"
#include "SampleModel.h"

namespace classxml::tool {
namespace {

using Handle = CXMLClassReaderWriter;

std::uintmax_t Size(const std::filesystem::path& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    return error ? 0 : size;
}

} // namespace

int Demo(const std::filesystem::path& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    const std::filesystem::path xml = directory / "project.xml";
    std::ofstream(directory / "sample.dtd", std::ios::binary) << kSampleDtd;
    if (!std::filesystem::exists(directory / "sample.dtd"))
        return Fail(directory.string(), "cannot write into this directory");
    std::printf("classxml demo in %s\n", directory.string().c_str());

    Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
    Handle::SetDtdDirectory(Wide(directory), Handle::XMLIOTYPE_XERCES);
    const sample::Project project = sample::MakeProject();

    Handle writer(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    writer.CreateDocument(WIDE("Project"), {}, WIDE("sample.dtd"));
    const int written = sample::Write(project, writer, Wide(directory / "notes.txt"));
    const bool saved = writer.SaveToFile(Wide(xml));
    writer.ReleaseDocument();
    if (!saved || Size(xml) == 0) return Fail(xml.string(), "could not be saved");
    std::printf("1. wrote %d values (18 scalars of every family, %zu tasks with a vector and a "
                "set, two maps, a text file and a base64 attachment) to %s: %ju bytes\n",
                written, project.tasks.size(), xml.filename().string().c_str(), Size(xml));

    Handle checker(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    const bool valid = checker.ReadFromFile(Wide(xml));
    checker.ReleaseDocument();
    if (!valid) return Fail(xml.string(), "not valid against sample.dtd");
    std::printf("2. validated it against sample.dtd\n");

    // Only the side files this run writes count: an earlier run's may lie in the same folder.
    const std::set<std::filesystem::path> before = SideFiles(directory);
    const bool extracted = Handle::PreprocessReading(Wide(xml), nullptr, nullptr);
    std::set<std::filesystem::path> sides;
    for (const auto& side : SideFiles(directory))
        if (!before.count(side)) sides.insert(side);
    if (!extracted || sides.empty())
        return Fail(xml.string(), "pre-processing found no attachment");
    std::printf("3. pre-processed it: %zu base64 block moved to %s (%ju bytes); the document is "
                "now %ju bytes\n",
                sides.size(), sides.begin()->filename().string().c_str(), Size(*sides.begin()),
                Size(xml));

    Handle reader(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    if (!reader.ReadFromFile(Wide(xml))) return Fail(xml.string(), "could not be read back");
    int compared = 0;
    const auto differences = sample::Differences(project, sample::Read(reader), compared);
    reader.ReleaseDocument();
    Handle::UninitXMLEngine(Handle::XMLIOTYPE_XERCES);

    for (const std::string& difference : differences)
        std::fprintf(stderr, "classxml: %s: %s differs\n", xml.string().c_str(),
                     difference.c_str());
    if (!differences.empty() || compared != written)
        return Fail(xml.string(), "read back " + std::to_string(compared) + " values, " +
                                      std::to_string(differences.size()) + " differ");
    std::printf("4. read it back with typed readers: all %d values read back equal\n", compared);
    return 0;
}

} // namespace classxml::tool
