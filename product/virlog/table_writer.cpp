#include <algorithm>
#include <array>

#include "common/escaped_text.h"
#include "product/virlog/formats.h"
#include "product/virlog/text_width.h"

namespace {

constexpr std::size_t kTimeWidth = 19;
constexpr std::string_view kGap = "  ";

struct Column {
    std::string_view heading;
    const std::string virus_log::VirusLogEntry::*text;
};

// Between the time, which is equally wide everywhere, and the path, which ends the line.
constexpr std::array<Column, 3> kMiddle{{{"VIRUS", &virus_log::VirusLogEntry::virusName},
                                         {"ACTION", &virus_log::VirusLogEntry::action},
                                         {"USER", &virus_log::VirusLogEntry::userName}}};

class TableWriter final : public RecordWriter {
public:
    explicit TableWriter(std::span<const virus_log::VirusLogEntry> entries) {
        for (std::size_t i = 0; i < kMiddle.size(); ++i) {
            m_widths[i] = kMiddle[i].heading.size();
            for (const virus_log::VirusLogEntry& entry : entries) {
                m_widths[i] = std::max(m_widths[i], WidthOf(Shown(entry, kMiddle[i])));
            }
        }
    }

    void Begin(std::string& out) override {
        AppendCell(out, "TIME", kTimeWidth);
        for (std::size_t i = 0; i < kMiddle.size(); ++i) {
            AppendCell(out, kMiddle[i].heading, m_widths[i]);
        }
        out += "PATH\n";
    }

    void Record(std::string& out, const virus_log::VirusLogEntry& entry) override {
        AppendTime(out, entry.time, ' ');
        out += kGap;
        for (std::size_t i = 0; i < kMiddle.size(); ++i) {
            AppendCell(out, Shown(entry, kMiddle[i]), m_widths[i]);
        }
        common::AppendEscaped(out, entry.filePath);
        out += '\n';
    }

    void End(std::string& /*out*/) override {}

private:
    std::string_view Shown(const virus_log::VirusLogEntry& entry, const Column& column) {
        m_text.clear();
        common::AppendEscaped(m_text, entry.*column.text);
        return m_text;
    }

    [[nodiscard]] std::size_t WidthOf(std::string_view text) const { return m_measure.Of(text); }

    void AppendCell(std::string& out, std::string_view text, std::size_t width) const {
        out += text;
        out.append(width - std::min(width, WidthOf(text)), ' ');
        out += kGap;
    }

    TextWidth m_measure;
    std::array<std::size_t, kMiddle.size()> m_widths{};
    std::string m_text;
};

}  // namespace

std::unique_ptr<RecordWriter> MakeTableWriter(std::span<const virus_log::VirusLogEntry> entries) {
    return std::make_unique<TableWriter>(entries);
}
