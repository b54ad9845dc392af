#pragma once

// Precompiled for every program of tests. It is included by the build alone: a test names the
// headers that it uses.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>
