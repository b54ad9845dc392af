#include "common/escaped_text.h"
#include "product/virlog/formats.h"

namespace {

class JsonWriter final : public RecordWriter {
public:
    void Begin(std::string& out) override { out += '['; }

    void Record(std::string& out, const virus_log::VirusLogEntry& entry) override {
        out += m_isFirst ? "\n{\"time\":\"" : ",\n{\"time\":\"";
        m_isFirst = false;
        AppendTime(out, entry.time, 'T');
        out += "\",\"component\":";
        out += std::to_string(entry.component);
        AppendMember(out, "virus", entry.virusName);
        AppendMember(out, "action", entry.action);
        AppendMember(out, "user", entry.userName);
        AppendMember(out, "path", entry.filePath);
        AppendMember(out, "domain", entry.domainName);
        out += '}';
    }

    void End(std::string& out) override { out += m_isFirst ? "]\n" : "\n]\n"; }

private:
    void AppendMember(std::string& out, std::string_view name, std::string_view text) {
        out += ",\"";
        out += name;
        out += "\":\"";
        m_text.clear();
        common::AppendEscaped(m_text, text);
        for (const char c : m_text) {
            // Of what JSON wants escaped nothing else is left.
            if (c == '"' || c == '\\') {
                out += '\\';
            }
            out += c;
        }
        out += '"';
    }

    std::string m_text;
    bool m_isFirst = true;
};

}  // namespace

std::unique_ptr<RecordWriter> MakeJsonWriter() {
    return std::make_unique<JsonWriter>();
}
