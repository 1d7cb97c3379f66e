// The sample application: stores a small project as class XML, validated against sample.dtd,
// and reads it back.
//
//     sample [DIRECTORY]      writes project.xml and its side files into DIRECTORY (default: .)
#include <cstdio>
#include <filesystem>

#include "SampleModel.h"

using Handle = CXMLClassReaderWriter;

int main(int argc, char** argv) {
    const std::filesystem::path directory =
        argc > 1 ? std::filesystem::path(argv[1]) : std::filesystem::path(argv[0]).parent_path();
    const auto wide = [](const std::filesystem::path& path) {
        const std::u16string text = path.u16string();
        return sample::Text(text.begin(), text.end());
    };
    Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
    Handle::SetDtdDirectory(wide(SAMPLE_DTD_DIRECTORY), Handle::XMLIOTYPE_XERCES);

    const sample::Project project = sample::MakeProject();
    Handle writer(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    writer.CreateDocument(WIDE("Project"), {}, WIDE("sample.dtd"));
    const int written = sample::Write(project, writer, wide(directory / "notes.txt"));
    const bool saved = writer.SaveToFile(wide(directory / "project.xml"));
    writer.ReleaseDocument();

    // Move the attachment out before parsing, then read and validate.
    Handle::PreprocessReading(wide(directory / "project.xml"), nullptr, nullptr);
    Handle reader(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    if (!saved || !reader.ReadFromFile(wide(directory / "project.xml"))) {
        std::fprintf(stderr, "sample: cannot read back %s\n",
                     (directory / "project.xml").string().c_str());
        return 1;
    }
    int compared = 0;
    const auto differences = sample::Differences(project, sample::Read(reader), compared);
    reader.ReleaseDocument();
    Handle::UninitXMLEngine(Handle::XMLIOTYPE_XERCES);

    for (const std::string& difference : differences)
        std::fprintf(stderr, "sample: %s differs\n", difference.c_str());
    std::printf("sample: wrote %d values, read back %d, %s\n", written, compared,
                differences.empty() ? "all equal" : "some differ");
    return differences.empty() && compared == written ? 0 : 1;
}
