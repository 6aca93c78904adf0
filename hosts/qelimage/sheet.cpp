#include "commands.h"
#include "folder_list.h"
#include "library_output.h"
#include "output.h"
#include "sheet_page.h"
#include "tile_loader.h"

#include <hosts/shared/file_replacement.h>
#include <hosts/shared/progress_bar.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qelimage {

namespace {

constexpr qel::uint64 kMostPixels = 1 << 26; // of a picture that is decoded for a thumbnail

std::string countOfFiles(size_t count) {
    return std::to_string(count) + (count == 1 ? " file" : " files");
}

/// Draws the pages of a folder's contact sheet, one after the other.
class SheetMaker {
public:
    SheetMaker(FolderList list, std::string path, qel::Image::Encoding encoding)
        : m_list(std::move(list)), m_path(std::move(path)), m_encoding(encoding) {}

    size_t countPages() const { return (m_list.names.size() + kTilesPerPage - 1) / kTilesPerPage; }

    /// Writes all pages. @return the exit status.
    int run() {
        bool hasWorked = true;
        for (size_t page = 1; page <= countPages(); ++page) {
            const std::vector<Tile> tiles = load(page);
            if (qel::System::wasInterruptHandlerCalled()) return qelhosts::kInterruptedStatus;
            hasWorked = reportProblems(tiles) && hasWorked;
            const qel::Image picture = drawPage(titleOf(page), tiles);
            const int status = picture ? save(picture, page) : kTrouble;
            if (status != 0) return status;
        }
        return hasWorked ? 0 : kTrouble;
    }

private:
    std::vector<Tile> load(size_t page) {
        const size_t total = m_list.names.size();
        const size_t first = (page - 1) * kTilesPerPage;
        const auto names = std::span(m_list.names).subspan(first, std::min(kTilesPerPage, total - first));
        const LibraryOutput quiet(LibraryOutput::To::Nowhere); // the sheet shows what could not be decoded
        std::vector<Tile> tiles = loadTiles(m_list.folder, names, [&](size_t done) {
            m_bar.show("reading " + countOfFiles(total),
                       static_cast<double>(first + done) / static_cast<double>(total));
        });
        m_bar.clear();
        return tiles;
    }
    static bool reportProblems(const std::vector<Tile>& tiles) {
        bool hasWorked = true;
        for (const Tile& tile : tiles) {
            if (tile.problem.empty()) continue;
            complain(tile.problem);
            hasWorked = false;
        }
        return hasWorked;
    }
    /// Writes a page. Only the first may be a pipe: Ctrl-C could not end the wait for another one.
    int save(const qel::Image& picture, size_t page) const {
        const std::string path = pathOfPage(m_path, page);
        if (page == 1 || qelhosts::isReplaceable(path)) return savePicture(picture, path, m_encoding);
        complain("not a file: " + quoted(path));
        return kTrouble;
    }
    std::string titleOf(size_t page) const {
        const std::string folder = m_list.folder.substr(0, m_list.folder.size() - 1);
        const std::string title = folder + ": " + countOfFiles(m_list.names.size());
        if (countPages() == 1) return title;
        return title + ", page " + std::to_string(page) + " of " + std::to_string(countPages());
    }

    FolderList m_list;
    std::string m_path;
    qel::Image::Encoding m_encoding;
    qelhosts::ProgressBar m_bar;
};

} // namespace

int drawSheet(const Options& options) {
    const std::string& folder = options.arguments[1];
    const std::string& out = options.arguments[2];
    const auto encoding = findEncoding(out);
    if (!encoding) return kTrouble;
    FolderList list = listFolder(folder, out);
    const bool isWhole = list.problem.empty();
    if (!isWhole) complain(list.problem);
    if (list.names.empty() && isWhole) complain("no files in " + quoted(folder));
    SheetMaker maker(std::move(list), out, *encoding);
    if (maker.countPages() == 0) return kTrouble;
    const bool isFile = out != "-" && qelhosts::isReplaceable(out);
    if (!isFile && maker.countPages() > 1) {
        complain("a pipe or a device takes one page, of at most " + std::to_string(kTilesPerPage) + " files");
        return kTrouble;
    }
    qel::Image::setDecodeLimit(kMostPixels);
    if (isFile) qel::System::installInterruptHandler(); // Ctrl-C ends the program while it waits for a pipe
    const int status = maker.run();
    return status == 0 && !isWhole ? kTrouble : status;
}

} // namespace qelimage
