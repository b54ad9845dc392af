#include "common/escaped_text.h"
#include "common/utf8.h"
#include "product/virlog/formats.h"

namespace {

// What makes a spreadsheet take a cell for a formula, in ASCII and in full width.
constexpr std::u32string_view kFormulaStarts = U"=+-@\uFF1D\uFF0B\uFF0D\uFF20";

class CsvWriter final : public RecordWriter {
public:
    void Begin(std::string& out) override {
        out += "time,component,virus,action,user,path,domain\r\n";
    }

    void Record(std::string& out, const virus_log::VirusLogEntry& entry) override {
        AppendTime(out, entry.time, ' ');
        out += ',';
        out += std::to_string(entry.component);
        for (const std::string* text : {&entry.virusName, &entry.action, &entry.userName,
                                        &entry.filePath, &entry.domainName}) {
            out += ',';
            AppendField(out, *text);
        }
        out += "\r\n";
    }

    void End(std::string& /*out*/) override {}

private:
    void AppendField(std::string& out, std::string_view text) {
        m_field.clear();
        if (!text.empty()) {
            const common::DecodedCharacter first = common::DecodeUtf8(text);
            if (first.isWellFormed && kFormulaStarts.find(first.character) != text.npos) {
                common::AppendCharacterEscape(m_field, first.character);
                text.remove_prefix(first.length);
            }
        }
        common::AppendEscaped(m_field, text);
        // Line breaks are escaped already.
        if (m_field.find_first_of(",\"") == std::string::npos) {
            out += m_field;
            return;
        }
        out += '"';
        for (const char c : m_field) {
            out.append(c == '"' ? 2 : 1, c);
        }
        out += '"';
    }

    std::string m_field;
};

}  // namespace

std::unique_ptr<RecordWriter> MakeCsvWriter() {
    return std::make_unique<CsvWriter>();
}
