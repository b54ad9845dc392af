#include "common/schedule_entries.h"

#include <algorithm>
#include <cstddef>
#include <new>

#include "common/text_field.h"

namespace {

// The pointers of the arrays lie anywhere in memory: they are taken out and put back, never pointed
// at.

template <typename Array>
auto ElementsOf(const Array& array) {
    auto* const begin = array.begin;
    return begin == nullptr ? std::span(begin, std::size_t{0})
                            : std::span(begin, static_cast<std::size_t>(array.end - begin));
}

template <typename Array>
void Free(Array& array) {
    ::operator delete(array.begin);
    array = {};
}

template <typename Array, typename Element>
void Add(Array& array, const Element& element) {
    const std::span<Element> elements = ElementsOf(array);
    if (array.end == array.capacity) {
        const std::size_t room = std::max<std::size_t>(4, 2 * elements.size());
        auto* grown = static_cast<Element*>(::operator new(room * sizeof(Element)));
        std::copy(elements.begin(), elements.end(), grown);
        Free(array);
        array = {grown, grown + elements.size(), grown + room};
    }
    *array.end = element;
    array.end = array.end + 1;
}

}  // namespace

namespace common {

std::span<const tagSCAN_ITEM> FoldersOf(const tagSCHEDULE_SCAN_ENTRY& entry) {
    return ElementsOf(entry.folders);
}

bool AddFolder(tagSCHEDULE_SCAN_ENTRY& entry, std::string_view path) {
    tagSCAN_ITEM item{};
    if (!CopyToField(item.path, path)) {
        return false;
    }
    Add(entry.folders, item);
    return true;
}

void FreeFolders(tagSCHEDULE_SCAN_ENTRY& entry) {
    Free(entry.folders);
}

std::span<const tagSCHEDULE_SCAN_ENTRY> EntriesOf(const tagSCHEDULE_SCAN_ARRAY& array) {
    return ElementsOf(array);
}

void AddEntry(tagSCHEDULE_SCAN_ARRAY& array, const tagSCHEDULE_SCAN_ENTRY& entry) {
    Add(array, entry);
}

void FreeEntries(tagSCHEDULE_SCAN_ARRAY& array) {
    for (tagSCHEDULE_SCAN_ENTRY& entry : ElementsOf(array)) {
        FreeFolders(entry);
    }
    Free(array);
}

}  // namespace common
