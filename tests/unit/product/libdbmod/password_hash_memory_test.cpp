#include <algorithm>
#include <cerrno>
#include <crypt.h>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <span>
#include <string>

#include "product/libdbmod/password_hash.h"
#include "tests/unit/product/libdbmod/database_support.h"

// What is left of a password in the memory it was hashed in, when that is given back. Some versions
// of libcrypt wipe what they used and others do not, so here one stands in that leaves all behind.

namespace {

// The memory that was given to crypt_rn last, until it is given back, and what was seen then.
std::span<char> inUse;
int givenBack = 0;
int givenBackWiped = 0;
bool isToFail = false;

void* Allocate(std::size_t size) {
    void* memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void Free(void* memory) {
    if (memory != nullptr && memory == inUse.data()) {
        ++givenBack;
        givenBackWiped += std::ranges::all_of(inUse, [](char c) { return c == 0; }) ? 1 : 0;
        inUse = {};
    }
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void operator delete(void* memory) noexcept {
    Free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    Free(memory);
}

extern "C" {

// The names are the linker's (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier)
char* __real_crypt_rn(const char* phrase, const char* setting, void* data, int size);
char* __wrap_crypt_rn(const char* phrase, const char* setting, void* data, int size);

char* __wrap_crypt_rn(const char* phrase, const char* setting, void* data, int size) {
    char* hash = __real_crypt_rn(phrase, setting, data, size);
    crypt_data& memory = *static_cast<crypt_data*>(data);
    std::strncpy(memory.input, phrase, sizeof memory.input - 1);
    std::memset(memory.internal, 'w', sizeof memory.internal);
    inUse = {static_cast<char*>(data), static_cast<std::size_t>(size)};
    if (isToFail) {
        errno = ENOMEM;
        return nullptr;
    }
    return hash;
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"

namespace dbmod {
namespace {

class PasswordHashMemory : public testing::Test {
protected:
    void SetUp() override { givenBack = givenBackWiped = 0; }
    void TearDown() override { isToFail = false; }
};

TEST_F(PasswordHashMemory, IsWipedAfterHashing) {
    EXPECT_NE(HashPassword("a secret"), "");
    EXPECT_EQ(givenBack, 1);
    EXPECT_EQ(givenBackWiped, 1);
}

TEST_F(PasswordHashMemory, IsWipedAfterChecking) {
    EXPECT_EQ(CheckPassword(kCheapPassword, kCheapHash), PasswordCheck::kMatches);
    EXPECT_EQ(CheckPassword("another secret", kCheapHash), PasswordCheck::kDiffers);
    EXPECT_EQ(givenBack, 2);
    EXPECT_EQ(givenBackWiped, 2);
}

TEST_F(PasswordHashMemory, IsWipedWhenHashingFails) {
    isToFail = true;
    EXPECT_EQ(HashPassword("a secret"), "");
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(CheckPassword("a secret", kCheapHash), PasswordCheck::kFailed);
    EXPECT_EQ(givenBack, 2);
    EXPECT_EQ(givenBackWiped, 2);
}

}  // namespace
}  // namespace dbmod
