#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "classxml/XMLClassReaderWriter/ExtractionScan.h"
#include "classxml/basicio/VFile.h"

namespace classxml::extraction {

// One run of the pre-read extraction over one file: every base64 block of a FileTransport
// element goes into a side file beside the input, and a rewritten document, which names the
// side files where the blocks stood, takes the input's place.
//
// What it keeps, whatever happens:
// - No base64 text is lost: a block is in its side file, synced, before the rewritten document
//   names it, and the rewritten document takes the input's name in one step only once it and
//   every side file it names are on the device, a power loss included.
// - A file error (an open, a write, a side file that cannot be created) throws
//   CBasicFileException before the input is touched.
// - Only what can be base64 is moved: the content of a non-empty "<fileContent" start tag up to
//   a "</fileContent>" with no markup before it, read once, copied into its side file as it is
//   searched for the markup that ends it; not a side file's path that an earlier run wrote there,
//   so that running twice is running once.
class Extraction {
public:
    // Removes a side file that turned out to hold no block, reporting a failure.
    using RemoveFile = std::function<void(const CBasicString<WideChar>& path)>;

    // `path`: the file itself, symbolic links followed.
    Extraction(const CBasicString<WideChar>& path, const Localization& localization,
               RemoveFile removeFile);
    // A rewritten document that was never put in place (a file error stopped the run) goes.
    ~Extraction();
    Extraction(const Extraction&) = delete;
    Extraction& operator=(const Extraction&) = delete;

    // Moves every block into its side file and copies the rest into the rewritten document; false
    // when an element is cut short, after moving the complete ones before it.
    bool MoveBlocks();
    // Puts the rewritten document in the input's place when a block was moved: 0, or the error
    // number of the replace, which leaves both files where they are (`rewritten` names the new
    // one).
    int PutInPlace(CBasicString<WideChar>& rewritten);

private:
    // What copying an element's content into a side file came to.
    struct Copied {
        CBasicString<WideChar> sidePath;
        std::int64_t contentEnd = -1; // the first character not copied; -1 at the end of the file
        bool isBlock = false;         // it ends at "</fileContent>"
    };

    std::int64_t Find(View text, std::int64_t start);
    // The "<fileContent" start tag of the next FileTransport element from `m_search`; -1 when
    // there is none.
    std::int64_t NextContentTag();
    Copied CopyContentAside(std::int64_t tagEnd);
    std::int64_t SidePathEnd(std::int64_t from);
    // A new file beside the input, as private as the input is.
    void Create(CVFile& file, const CBasicString<WideChar>& name);
    // The element up to the end of its start tag, the side file's path in place of its content,
    // and the rest of it, into the rewritten document.
    void Rewrite(std::int64_t tagEnd, const Copied& copied);

    CBasicString<WideChar> m_path;
    CBasicString<WideChar> m_directory; // of the input: side files and the rewritten document
    const Localization& m_localization;
    RemoveFile m_removeFile;
    CVFile m_input;
    StartTags m_tags;
    CVFile m_rewritten;
    CBasicString<WideChar> m_rewrittenPath; // empty until the first block is moved
    CBasicString<WideChar> m_sideUuid;      // keeps the previous one when no new one can be made
    std::int64_t m_copied = 0;              // the first input character not yet rewritten
    std::int64_t m_search = 0;              // where the next element is looked for
    bool m_finished = false;                // PutInPlace has run
};

} // namespace classxml::extraction
