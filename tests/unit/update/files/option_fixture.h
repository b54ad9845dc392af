#pragma once

#include <functional>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/unit/update/files/product_fixture.h"

/// A private application directory, "/" at its end, beside the product directory.
class OptionFixture : public ProductFixture {
protected:
    void SetUp() override {
        ProductFixture::SetUp();
        ::chmod(m_scratch.Path().c_str(), 0755);
        common::CopyToField(g_szAppPath, m_scratch.Path());
    }
    void TearDown() override {
        g_szAppPath[0] = '\0';
        ProductFixture::TearDown();
    }
    void Put(const std::string& name, std::string_view bytes, mode_t mode = 0600) const {
        WriteFile(m_scratch / name, bytes);
        ASSERT_EQ(::chmod((m_scratch / name).c_str(), mode), 0);
    }
    [[nodiscard]] std::string Get(const std::string& name) const {
        return ReadFile(m_scratch / name);
    }
    [[nodiscard]] unsigned int Mode(const std::string& name) const {
        return ModeOf(m_scratch / name);
    }

    /// Does `work` as a user who owns the application directory, where root could open everything.
    [[nodiscard]] int AsOwner(const std::function<int()>& work) const {
        constexpr uid_t kOwner = 12345;
        if (::geteuid() == 0) {
            for (const auto& entry : std::filesystem::directory_iterator(m_scratch.Path())) {
                EXPECT_EQ(::lchown(entry.path().c_str(), kOwner, kOwner), 0);
            }
            EXPECT_EQ(::lchown(m_scratch.Path().c_str(), kOwner, kOwner), 0);
        }
        return InChild([&] {
            const bool isStillRoot =
                ::geteuid() == 0 && (::setgid(kOwner) != 0 || ::setuid(kOwner) != 0);
            return isStillRoot ? 99 : work();
        });
    }
};
