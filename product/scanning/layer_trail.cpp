#include "product/scanning/layer_trail.h"

#include <algorithm>

namespace scanning {

namespace {

// An archive may list far more than is ever scanned; past this a member keeps its short name.
constexpr std::size_t kMaxListed = 4096;
// How far ahead a listed member is looked for, so that a hostile listing costs nothing.
constexpr std::size_t kLookAhead = 256;

std::string_view LastPart(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

void LayerTrail::Listed(std::string_view memberPath) {
    if (m_layers.empty() || memberPath.ends_with('/')) {
        return;
    }
    auto& listed = m_layers.back().listed;
    // A zip entry is told of twice.
    if (listed.size() < kMaxListed && (listed.empty() || listed.back() != memberPath)) {
        listed.emplace_back(memberPath);
    }
}

void LayerTrail::Expect(std::uint32_t position) {
    if (m_layers.empty()) {
        return;
    }
    // Members are listed in order, each twice; some readers go through the listing again.
    Layer& archive = m_layers.back();
    if (position > archive.lastExpected) {
        archive.lastExpected = position;
        ++archive.expected;
    }
}

void LayerTrail::ExpectMembers(std::size_t members, std::size_t bytes) {
    if (!m_layers.empty()) {
        m_layers.back().expected += members;
        m_layers.back().expectedBytes += bytes;
    }
}

void LayerTrail::ExpectNothing() {
    if (!m_layers.empty()) {
        m_layers.back().readElsewhere = true;
    }
}

bool LayerTrail::ExpectsNothing() const {
    return !m_layers.empty() && m_layers.back().readElsewhere;
}

bool LayerTrail::AllEntered() const {
    return !m_missed && std::none_of(m_layers.begin(), m_layers.end(),
                                     [](const Layer& layer) { return layer.IsMissed(); });
}

std::string LayerTrail::TakeListed(Layer& archive, std::string_view name) {
    const std::size_t end = std::min(archive.listed.size(), archive.firstUnmet + kLookAhead);
    for (std::size_t i = archive.firstUnmet; i < end; ++i) {
        if (LastPart(archive.listed[i]) == name) {
            archive.firstUnmet = i + 1;
            return archive.listed[i];
        }
    }
    return std::string(name);
}

void LayerTrail::Entered(std::uint32_t level, std::string_view name, int descriptor,
                         std::size_t size) {
    // An archive within other data takes a level of its own that is not told of.
    while (!m_layers.empty() && m_layers.back().level >= level) {
        m_missed = m_missed || m_layers.back().IsMissed();
        m_layers.pop_back();
    }
    if (!m_layers.empty()) {
        ++m_layers.back().entered;
        m_layers.back().enteredBytes += size;
    }
    Layer layer;
    layer.level = level;
    layer.descriptor = descriptor;
    layer.readElsewhere = ExpectsNothing();
    if (!m_layers.empty() && !name.empty()) {
        layer.name = TakeListed(m_layers.back(), name);
    }
    m_layers.push_back(std::move(layer));
}

void LayerTrail::BackTo(int descriptor) {
    for (std::size_t i = m_layers.size(); i > 0; --i) {
        if (m_layers[i - 1].descriptor == descriptor) {
            m_layers.resize(i);
            return;
        }
    }
}

std::string LayerTrail::Path() const {
    std::string path;
    for (const Layer& layer : m_layers) {
        if (!layer.name.empty()) {
            path += path.empty() ? "" : "/";
            path += layer.name;
        }
    }
    return path;
}

}  // namespace scanning
