#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace schdlscn {

/// A statement of SQLite: bind its values in order, then step through its rows and take their
/// columns in order. What fails once stays failed; look at Code() at the end. For one thread.
class Statement {
public:
    Statement(sqlite3* connection, const char* sql) {
        sqlite3_stmt* raw = nullptr;
        m_code = sqlite3_prepare_v2(connection, sql, -1, &raw, nullptr);
        m_statement.reset(raw);
    }

    Statement& Bind(std::int64_t number) {
        return Note(sqlite3_bind_int64(m_statement.get(), ++m_bound, number));
    }
    Statement& Bind(const std::optional<std::int64_t>& number) {
        return number ? Bind(*number) : Note(sqlite3_bind_null(m_statement.get(), ++m_bound));
    }
    /// Bytes, of which nothing is believed to be text.
    Statement& Bind(std::string_view bytes) {
        return Note(sqlite3_bind_blob64(m_statement.get(), ++m_bound,
                                        bytes.empty() ? "" : bytes.data(), bytes.size(),
                                        SQLITE_TRANSIENT));
    }

    /// Whether there is a row, or another one.
    bool Step() {
        if (m_code != SQLITE_OK && m_code != SQLITE_ROW) {
            return false;
        }
        m_taken = 0;
        m_code = sqlite3_step(m_statement.get());
        return m_code == SQLITE_ROW;
    }

    /// Runs it to its end.
    int Run() {
        while (Step()) {
        }
        return m_code;
    }

    std::int64_t Number() { return sqlite3_column_int64(m_statement.get(), m_taken++); }
    int Small() { return sqlite3_column_int(m_statement.get(), m_taken++); }
    std::optional<std::int64_t> MaybeNumber() {
        const bool isNull = sqlite3_column_type(m_statement.get(), m_taken) == SQLITE_NULL;
        const std::int64_t number = Number();
        return isNull ? std::nullopt : std::optional(number);
    }
    std::string Bytes() {
        const int column = m_taken++;
        const void* const bytes = sqlite3_column_blob(m_statement.get(), column);
        const int size = sqlite3_column_bytes(m_statement.get(), column);
        return bytes == nullptr
                   ? std::string()
                   : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    }

    /// SQLite's; SQLITE_DONE after the last row.
    [[nodiscard]] int Code() const { return m_code; }

private:
    struct Finish {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    Statement& Note(int code) {
        if (m_code == SQLITE_OK) {
            m_code = code;
        }
        return *this;
    }

    std::unique_ptr<sqlite3_stmt, Finish> m_statement;
    int m_code = SQLITE_OK;
    int m_bound = 0;
    int m_taken = 0;
};

}  // namespace schdlscn
