#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace scanning {

/// Where in a nested file the scan stands, kept from what libclamav tells while it unpacks. It
/// gives a member's full path before it scans any, and then only the last part of the path of the
/// one being scanned; the two are brought together here.
class LayerTrail {
public:
    /// An archive listed a member with its full path.
    void Listed(std::string_view memberPath);

    /// The archive just entered has a member at `position` (from 1 on) in its listing that must be
    /// entered before the archive was read whole. Telling of the same one again changes nothing.
    /// Position 0 is that of a member met without a listing, and says nothing.
    void Expect(std::uint32_t position);

    /// The same for the layer just entered as a whole: it holds so many members, with so many bytes
    /// in them.
    void ExpectMembers(std::size_t members, std::size_t bytes);

    /// The layer just entered was read by other means: nothing needs to be entered in it, nor in
    /// what is in it.
    void ExpectNothing();

    /// Whether that holds for the layer just entered.
    [[nodiscard]] bool ExpectsNothing() const;

    /// False when an archive had members that were never entered, or not with all that is in them.
    [[nodiscard]] bool AllEntered() const;

    /// The layer at `level` (0: the file itself) is about to be scanned. `name` is empty for layers
    /// without a name of their own, such as the inside of a gzip file. `size` is in bytes.
    void Entered(std::uint32_t level, std::string_view name, int descriptor, std::size_t size);

    /// The innermost layer that is read through `descriptor` (-1: from memory): layers below it are
    /// done with.
    void BackTo(int descriptor);

    /// "member/inner member", without unnamed layers; empty for the file itself.
    [[nodiscard]] std::string Path() const;

private:
    struct Layer {
        std::uint32_t level = 0;
        std::string name;
        int descriptor = -1;
        std::vector<std::string> listed;  ///< members not yet met
        std::size_t firstUnmet = 0;
        std::uint32_t lastExpected = 0;  ///< position in the listing
        std::size_t expected = 0;
        std::size_t entered = 0;
        std::size_t expectedBytes = 0;
        std::size_t enteredBytes = 0;
        bool readElsewhere = false;

        [[nodiscard]] bool IsMissed() const {
            return !readElsewhere && (entered < expected || enteredBytes < expectedBytes);
        }
    };

    static std::string TakeListed(Layer& archive, std::string_view name);

    std::vector<Layer> m_layers;
    bool m_missed = false;  ///< in an archive that is done with
};

}  // namespace scanning
