#include "scan/run/file_count.h"

namespace scan {

namespace {

class CountingVisitor : public WalkVisitor {
public:
    CountingVisitor(const std::atomic<bool>& stop, std::atomic<std::uint64_t>& total)
        : m_stop(stop), m_total(total) {}

    bool GoOn(const char* /*directory*/) override {
        return !m_stop.load(std::memory_order_relaxed);
    }
    void OnFile(const TreeCursor& /*cursor*/) override {
        m_total.fetch_add(1, std::memory_order_relaxed);
    }

private:
    const std::atomic<bool>& m_stop;
    std::atomic<std::uint64_t>& m_total;
};

}  // namespace

WalkResult CountFiles(const char* directory, const std::atomic<bool>& stop,
                      std::atomic<std::uint64_t>& total, const PathFilter* filter) {
    CountingVisitor visitor(stop, total);
    return DirectoryWalker(visitor, filter).Walk(directory);
}

}  // namespace scan
