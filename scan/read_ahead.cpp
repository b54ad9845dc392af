#include "scan/read_ahead.h"

#include <atomic>

namespace {

std::atomic<bool> enabled{true};

}  // namespace

void SetReadAhead(bool on) {
    enabled = on;
}

void ReadAhead::LookAhead(int /*directory*/, DirectoryBlock& /*block*/) {}
