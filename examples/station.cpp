// A weather station and its sensors, saved to class XML with a DTD made from the types, and
// loaded back validated against it.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <classxml/archive/Archive.h>

struct Sensor {
    std::string kind, unit;
    bool active = true;
    std::vector<double> readings;
    std::map<std::string, std::string> tags;

    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(kind), CLASSXML_NVP(unit), CLASSXML_NVP(active), CLASSXML_NVP(readings),
           CLASSXML_NVP(tags));
    }
};

struct Station {
    std::string name;
    double latitude = 0, longitude = 0;
    std::int64_t id = 0;
    std::vector<std::string> notes;
    std::map<std::string, double> calibration;
    std::vector<Sensor> sensors;

    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(name), CLASSXML_NVP(latitude), CLASSXML_NVP(longitude), CLASSXML_NVP(id),
           CLASSXML_NVP(notes), CLASSXML_NVP(calibration), CLASSXML_NVP(sensors));
    }
};

int main(int argc, char** argv) {
    // Written beside the program unless told where: a run never litters the folder it starts in.
    const std::string file =
        argc > 1 ? argv[1]
                 : (std::filesystem::path(argv[0]).parent_path() / "station.xml").string();
    const Station station{"Säntis",
                          47.2493,
                          9.3434,
                          6680,
                          {"summit", "wind > 30 m/s"},
                          {{"offset", -0.25}, {"gain", 1.02}},
                          {{"temperature", "°C", true, {-3.5, -3.25}, {{"site", "north"}}},
                           {"wind", "m/s", false, {31.5}, {}}}};
    // The DTD goes beside the document, which names it and is validated against it on loading.
    const std::filesystem::path dtd = std::filesystem::path(file).replace_filename("station.dtd");
    if (const classxml::Result saved = classxml::SaveDtd<Station>(dtd.string()); !saved)
        return std::fprintf(stderr, "%s\n", saved.Message().c_str()), 1;
    const classxml::DocumentType doctype{{}, "station.dtd"};
    if (const classxml::Result saved = classxml::SaveToFile(file, station, doctype); !saved)
        return std::fprintf(stderr, "%s\n", saved.Message().c_str()), 1;

    Station loaded;
    if (const classxml::Result read = classxml::LoadFromFile(file, loaded); !read)
        return std::fprintf(stderr, "%s\n", read.Message().c_str()), 1;
    std::printf("%s: %zu sensors, %s reads %.2f\n", loaded.name.c_str(), loaded.sensors.size(),
                loaded.sensors[0].kind.c_str(), loaded.sensors[0].readings[1]);
    return 0;
}
