#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <xercesc/dom/DOMException.hpp>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/platform/Utf.h"
#include "classxml/stream/StreamWriter.h"

namespace classxml::testing {

// Documents made of random sequences of class, container and property writes of every value
// family, with names and texts chosen to reach the escapes, CDATA splits, empty elements and
// refusals. The same sequence is played into a handle and into a stream writer, which must
// accept and refuse the same calls and write the same bytes.
class GeneratedDocument {
public:
    using View = CBasicStringView<WideChar>;
    using Text = CBasicString<WideChar>;

    explicit GeneratedDocument(unsigned seed) : m_random(seed) {
        typeCheck = Pick(4) != 0;
        root = Pick(2) ? WIDE("Project") : WIDE("a");
        if (Pick(3) == 0) systemId = WIDE("doc.dtd");
        if (!systemId.empty() && Pick(2) == 0) publicId = WIDE("-//classxml//test//EN");
        const std::size_t steps = Pick(60);
        for (std::size_t i = 0; i < steps; ++i)
            m_steps.push_back(NewStep());
    }

    bool typeCheck = true;
    Text root, publicId, systemId;

    // Builds the document on a handle that has none yet; false where the calls' answers differ
    // from what `accepted` records of an earlier play (empty: record them).
    void Play(CXMLClassReaderWriter& document, std::vector<bool>& accepted) const {
        document.CreateDocument(root, publicId, systemId);
        std::vector<CXMLClassReaderWriter> open{document};
        for (const Step& step : m_steps) {
            CXMLClassReaderWriter& top = open.back();
            bool ok = true;
            if (step.kind == Kind::End) {
                ok = open.size() > 1;
                if (ok) open.pop_back();
            } else {
                CXMLClassReaderWriter made = Made(top, step);
                ok = made.IsDefined();
                if (ok && step.kind <= Kind::Map) open.push_back(made);
            }
            accepted.push_back(ok);
        }
    }

    // The same sequence into a stream writer; its answers go into `accepted`.
    bool Play(StreamWriter& out, std::vector<bool>& accepted) const {
        if (!out.StartDocument(root, publicId, systemId)) return false;
        for (const Step& step : m_steps)
            accepted.push_back(Write(out, step));
        return out.Finish();
    }

private:
    enum class Kind {
        Class,
        List,
        Deque,
        Set,
        Vector,
        Map,
        End,
        Int,
        Int64,
        Uint,
        Uint64,
        Bool,
        Double,
        Id,
        Time,
        UtcTime,
        Version,
        Text,
        CData,
        Utf8
    };
    struct Step {
        Kind kind = Kind::End;
        Text name, type, valueType, text;
        std::int64_t integer = 0;
        double real = 0;
    };

    std::size_t Pick(std::size_t n) {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(m_random);
    }

    // Mostly plain names; now and then one with a colon, a dot, a digit first or a blank.
    Text Name() {
        static const View names[] = {
            WIDE("a"),  WIDE("item"),          WIDE("Sensor"), WIDE("x.y"),      WIDE("ns:name"),
            WIDE("_u"), WIDE("\u00E9t\u00E9"), WIDE("1bad"),   WIDE("bad name"), WIDE("")};
        return Text(names[Pick(4) == 0 ? Pick(std::size(names)) : Pick(3)]);
    }

    // Text with what needs escaping, CDATA splits, line ends, non-ASCII and surrogate pairs;
    // rarely a character no document can carry.
    Text String() {
        static const View pieces[] = {
            WIDE("plain"),      WIDE(" "),     WIDE("&"),   WIDE("<"),  WIDE(">"),
            WIDE("\""),         WIDE("'"),     WIDE("\r"),  WIDE("\n"), WIDE("\r\n"),
            WIDE("\t"),         WIDE("]]>"),   WIDE("]]"),  WIDE("]"),  WIDE("\u00E4\u20AC"),
            WIDE("\U0001F600"), WIDE("&amp;"), WIDE("\x01")};
        Text text;
        const std::size_t count = Pick(6);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t piece = Pick(std::size(pieces));
            if (piece + 1 == std::size(pieces) && Pick(8) != 0) continue;
            text += pieces[piece];
        }
        return text;
    }

    double Real() {
        static const double specials[] = {0.0,
                                          -0.0,
                                          0.1,
                                          1.0,
                                          1e300,
                                          -2.5e-308,
                                          std::numeric_limits<double>::infinity(),
                                          std::numeric_limits<double>::quiet_NaN(),
                                          2.9996,
                                          1.8e19,
                                          123456.789};
        if (Pick(3) == 0) return std::uniform_real_distribution<double>(-1e6, 1e6)(m_random);
        return specials[Pick(std::size(specials))];
    }

    Step NewStep() {
        Step step;
        step.kind = static_cast<Kind>(Pick(static_cast<std::size_t>(Kind::Utf8) + 1));
        step.name = Name();
        step.type = Pick(10) == 0 ? String() : Text(WIDE("t"));
        step.valueType = WIDE("v");
        step.text = String();
        step.integer = static_cast<std::int64_t>(m_random()) * (Pick(2) ? 1 : -1);
        step.real = Real();
        return step;
    }

    // The handle call of a step; a name the DOM rejects counts as refused.
    static CXMLClassReaderWriter Made(CXMLClassReaderWriter& top, const Step& s) {
        try {
            return Call(top, s);
        } catch (const xercesc::DOMException&) {
            return CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>(),
                                         CXMLClassReaderWriter::XMLIOTYPE_NONE);
        }
    }

    static CXMLClassReaderWriter Call(CXMLClassReaderWriter& top, const Step& s) {
        const auto n = s.integer;
        switch (s.kind) {
        case Kind::Class:
            return top.CreateClass(s.name, s.type);
        case Kind::List:
            return top.AddLISTProperty(s.name, s.type);
        case Kind::Deque:
            return top.AddDEQUEProperty(s.name, s.type);
        case Kind::Set:
            return top.AddSETProperty(s.name, s.type);
        case Kind::Vector:
            return top.AddVECTORProperty(s.name, s.type);
        case Kind::Map:
            return top.AddMAPProperty(s.name, s.type, s.valueType);
        case Kind::Int:
            return top.AddintProperty(s.name, s.type, static_cast<int>(n));
        case Kind::Int64:
            return top.Add__int64Property(s.name, s.type, n);
        case Kind::Uint:
            return top.AddUINTProperty(s.name, s.type, static_cast<UINT>(n));
        case Kind::Uint64:
            return top.AddDWORD64Property(s.name, s.type, static_cast<DWORD64>(n));
        case Kind::Bool:
            return top.AddboolProperty(s.name, s.type, n % 2 == 0);
        case Kind::Double:
            return top.AdddoubleProperty(s.name, s.type, s.real);
        case Kind::Id:
            return top.AddDB_IDProperty(s.name, s.type, DB_ID(std::uint64_t(n)));
        case Kind::Time:
            return top.AddDB_TIME_TYPEProperty(s.name, s.type, DB_TIME_TYPE(s.real));
        case Kind::UtcTime:
            return top.AddDB_UTC_TIME_TYPEProperty(s.name, s.type, DB_UTC_TIME_TYPE(s.real));
        case Kind::Version:
            return top.AddDB_VERSIONNUMBERProperty(s.name, s.type,
                                                   DB_VERSIONNUMBER(std::fabs(s.real)));
        case Kind::Text:
            return top.AddAlpTStringProperty(s.name, s.type, s.text);
        case Kind::CData:
            return top.AddStringAsCDATAProperty(s.name, s.type, s.text);
        default: {
            const CBasicString<char8_t> utf8 = Utf8(s.text);
            return top.AddCUTF8StringMAPProperty(s.name, s.type, utf8);
        }
        }
    }

    static bool Write(StreamWriter& out, const Step& s) {
        const auto n = s.integer;
        switch (s.kind) {
        case Kind::Class:
            return out.BeginClass(s.name, s.type);
        case Kind::List:
            return out.BeginList(s.name, s.type);
        case Kind::Deque:
            return out.BeginDeque(s.name, s.type);
        case Kind::Set:
            return out.BeginSet(s.name, s.type);
        case Kind::Vector:
            return out.BeginVector(s.name, s.type);
        case Kind::Map:
            return out.BeginMap(s.name, s.type, s.valueType);
        case Kind::End:
            return out.End();
        case Kind::Int:
            return out.Write(s.name, s.type, static_cast<std::int32_t>(n));
        case Kind::Int64:
            return out.Write(s.name, s.type, n);
        case Kind::Uint:
            return out.Write(s.name, s.type, static_cast<std::uint32_t>(n));
        case Kind::Uint64:
            return out.Write(s.name, s.type, static_cast<std::uint64_t>(n));
        case Kind::Bool:
            return out.Write(s.name, s.type, n % 2 == 0);
        case Kind::Double:
            return out.Write(s.name, s.type, s.real);
        case Kind::Id:
            return out.Write(s.name, s.type, DB_ID(std::uint64_t(n)));
        case Kind::Time:
            return out.Write(s.name, s.type, DB_TIME_TYPE(s.real));
        case Kind::UtcTime:
            return out.Write(s.name, s.type, DB_UTC_TIME_TYPE(s.real));
        case Kind::Version:
            return out.Write(s.name, s.type, DB_VERSIONNUMBER(std::fabs(s.real)));
        case Kind::Text:
            return out.WriteText(s.name, s.type, s.text);
        case Kind::CData:
            return out.WriteCDATA(s.name, s.type, s.text);
        default:
            return out.WriteUTF8(s.name, s.type, Utf8(s.text));
        }
    }

    static CBasicString<char8_t> Utf8(const Text& text) { return platform::Utf16ToUtf8(text); }

    std::mt19937 m_random;
    std::vector<Step> m_steps;
};

} // namespace classxml::testing
