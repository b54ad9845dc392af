#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "abi/scanapi.h"
#include "product/scanapi/file_remover.h"
#include "product/scanning/library_scan.h"

namespace scanapi {

/// What is said to the program about one file, and what it answers. Every call is made on the
/// thread that called ZqScanFileEx.
class Conversation {
public:
    /// How a file with this virus is deleted, should the program want that; called then only.
    using DisposalOf = std::function<Disposal(const std::string& virusName)>;

    Conversation(PFNZQCALLBACK callback, void* context, const TargetFile& file,
                 DisposalOf disposalOf)
        : m_callback(callback),
          m_context(context),
          m_file(file),
          m_disposalOf(std::move(disposalOf)) {}

    /// Tells of a member about to be scanned, named as in the outcome of a scan. False when the
    /// program wants to stop.
    bool Member(std::string_view member);

    /// True when the program wants to stop. Asked with a message of no meaning, which the program
    /// answers and takes no notice of.
    bool StopWanted();

    /// Reports the outcome and carries out what the program decides. True when the file was
    /// scanned whole or passed over as asked.
    bool Conclude(const scanning::ScanOutcome& outcome);

    /// Tells that the file was not read; takes no memory.
    void SayUnread(std::string_view reason);

private:
    [[nodiscard]] std::string PathOf(std::string_view member) const;
    int Say(std::int16_t code, std::string_view fileName, std::string_view virusName = {});
    void Detected(const scanning::ScanOutcome& outcome);
    void Delete(const std::string& virusName);

    PFNZQCALLBACK m_callback;
    void* m_context;
    const TargetFile& m_file;
    const DisposalOf m_disposalOf;
};

/// Why a file was not read whole, in a few words.
std::string_view WhyUnread(const scanning::ScanOutcome& outcome);

/// Fills the name field; a name too long for it ends in "..." to show that it was cut.
void PutFileName(tagZQFILEINFO& info, std::string_view fileName);

}  // namespace scanapi
