#include "update/files/address_list.h"

#include <algorithm>
#include <cstdlib>

#include "common/text_field.h"

void update::FreeAddresses(char** list, std::size_t count) {
    if (list == nullptr) {
        return;
    }
    std::for_each(list, list + count, [](char* entry) { std::free(entry); });
    std::free(list);
}

void FreeMemory(char** list, unsigned short count) {
    update::FreeAddresses(list, count);
}

bool update::AddressList::Reserve(std::size_t capacity) {
    // Never of size 0, for which the allocator may give null.
    auto* array =
        static_cast<char**>(std::calloc(std::max<std::size_t>(capacity, 1), sizeof(char*)));
    m_entries.reset();
    m_entries = {array, update::FreeAddressList{}};
    m_capacity = array != nullptr ? capacity : 0;
    return array != nullptr;
}

bool update::AddressList::Add(std::string_view text, std::size_t bufferSize) {
    std::size_t& count = m_entries.get_deleter().count;
    if (count == m_capacity) {
        return false;
    }
    auto* buffer = static_cast<char*>(std::calloc(bufferSize, 1));
    if (buffer == nullptr) {
        return false;
    }
    common::CopyToField({buffer, bufferSize}, text);
    m_entries[count++] = buffer;
    return true;
}

char** update::AddressList::Release() {
    m_capacity = 0;
    m_entries.get_deleter().count = 0;
    return m_entries.release();
}
