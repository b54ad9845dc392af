#pragma once

#include <string>

#include "product/fetch/http_client.h"
#include "product/signed_index/index.h"

namespace fetch {

/// How the download of a file ended.
enum class FileEnd {
    kWhole,        ///< it lies in the folder of parts, with the size and digest of the index
    kStopped,      ///< the listener asked for it
    kUnreachable,  ///< the words say why; another address may have it
    kRefused,      ///< it is not what the index says
    kDiskFailed,   ///< another address would not help
};

struct FileResult {
    FileEnd end = FileEnd::kUnreachable;
    std::string words;
};

/// Downloads `file` from `address` into the open folder `parts`, under its digest. What an earlier
/// try or run left of it is gone on with; three tries. A part stays behind for the next run.
FileResult DownloadFile(HttpClient& client, const Limits& limits, Progress& progress,
                        const std::string& address, const signed_index::IndexedFile& file,
                        int parts);

/// Copies the open file `source` there instead. kRefused when it is another file by now.
FileResult CopyFile(Progress& progress, int source, const signed_index::IndexedFile& file,
                    int parts);

/// Downloads a small file whole into `bytes`: three tries, and refused above `limit` bytes. The
/// answer's end is kSinkFailed for one that is larger.
HttpAnswer DownloadText(HttpClient& client, const Limits& limits, Progress& progress,
                        const HttpRequest& request, std::size_t limit, std::string& bytes);

}  // namespace fetch
