#pragma once

#include <string>

#include "classxml/platform/Utf.h"
#include "classxml/stream/StreamReader.h"
#include "classxml/xmlio/Diagnostics.h"

namespace classxml::testing {

// What a reading came to, as text: one line per event (texts joined, the text an error cuts
// off left out), the verdict, and the first complaint with its line and column. Two readers
// read a document alike when their transcripts are equal.
inline std::string Transcript(StreamReader& reader) {
    using Event = StreamReader::Event;
    std::string events, text;
    Event event;
    while ((event = reader.Next()) != Event::End && event != Event::Error) {
        if (event == Event::Text) {
            text += reader.TextUtf8();
            continue;
        }
        if (!text.empty()) events += "T " + text + "\n", text.clear();
        events += event == Event::StartElement ? "S " : "E ";
        events += reader.NameUtf8();
        for (std::size_t i = 0; event == Event::StartElement && i < reader.AttributeCount(); ++i) {
            events += ' ';
            events += platform::AsBytes(platform::Utf16ToUtf8(reader.AttributeName(i)));
            events += '=';
            events += platform::AsBytes(platform::Utf16ToUtf8(reader.AttributeValue(i)));
        }
        events += '\n';
    }
    events += event == Event::End ? "T " + text + "\nEND\n" : "ERROR\n";
    for (const Diagnostic& diagnostic : LastDiagnostics()) {
        events += std::to_string(diagnostic.line) + ':' + std::to_string(diagnostic.column) + ' ' +
                  diagnostic.message + '\n';
        break;
    }
    return events;
}

} // namespace classxml::testing
