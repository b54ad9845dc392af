// Reads the index event by event: nothing is built up of what is not in it, and the first thing
// that is wrong ends the reading.

#include <algorithm>
#include <array>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <variant>

#include "product/signed_index/index.h"

namespace signed_index {

namespace {

using Value = std::variant<std::monostate, std::uint64_t, std::string_view>;

// Fields by their place in a mask of those that were there.
enum TopField : unsigned int { kFormat, kSerial, kMade, kExpires, kFiles, kTopFields };
enum FileField : unsigned int { kName, kSize, kSha256, kVersion, kFileFields };
constexpr std::array<std::string_view, kTopFields> kTopNames{"format", "serial", "made", "expires",
                                                             "files"};
constexpr std::array<std::string_view, kFileFields> kFileNames{"name", "size", "sha256", "version"};

// Where in the document the reader stands.
enum class Place { kBefore, kTop, kFileList, kFile, kAfter };

// What nlohmann's parser tells, in the shape and under the names that it asks for.
class Reader {
public:
    Reader(Index& index) : m_index(index) {}

    [[nodiscard]] Refusal Why() const { return m_refusal; }

    bool null() { return Scalar({}); }
    bool boolean(bool /*value*/) { return Scalar({}); }
    bool number_integer(std::int64_t /*value*/) { return Scalar({}, true); }  // a negative one
    bool number_unsigned(std::uint64_t value) { return Scalar(value, true); }
    bool number_float(double /*value*/, const std::string& /*text*/) { return Scalar({}, true); }
    bool string(std::string& value) { return Scalar(std::string_view(value)); }
    bool binary(std::vector<std::uint8_t>& /*value*/) { return Refuse(Refusal::kNotJson); }

    bool start_object(std::size_t /*size*/) {
        if (m_ignoredDepth > 0 || IsIgnoredValue()) {
            return EnterIgnored();
        }
        if (m_place == Place::kBefore) {
            m_place = Place::kTop;
            return true;
        }
        if (m_place != Place::kFileList) {
            return Refuse(Refusal::kWrongFieldType);
        }
        if (m_index.files.size() == kMaxFiles) {
            return Refuse(Refusal::kTooManyFiles);
        }
        m_place = Place::kFile;
        m_seenInFile = 0;
        m_index.files.emplace_back();
        return true;
    }

    bool key(std::string& name) {
        if (m_ignoredDepth > 0) {
            return true;
        }
        return m_place == Place::kTop ? TakeKey(kTopNames, name, m_seen)
                                      : TakeKey(kFileNames, name, m_seenInFile);
    }

    bool end_object() {
        if (m_ignoredDepth > 0) {
            --m_ignoredDepth;
            return true;
        }
        if (m_place == Place::kFile) {
            m_place = Place::kFileList;
            return HasAll(m_seenInFile, kFileFields) || Refuse(Refusal::kMissingField);
        }
        m_place = Place::kAfter;
        return EndIndex();
    }

    bool start_array(std::size_t /*size*/) {
        if (m_ignoredDepth > 0 || IsIgnoredValue()) {
            return EnterIgnored();
        }
        if (m_place != Place::kTop || m_field != kFiles) {
            return Refuse(m_place == Place::kBefore ? Refusal::kNotJson : Refusal::kWrongFieldType);
        }
        m_place = Place::kFileList;
        return true;
    }

    bool end_array() {
        if (m_ignoredDepth > 0) {
            --m_ignoredDepth;
            return true;
        }
        m_place = Place::kTop;
        return !m_index.files.empty() || Refuse(Refusal::kNoFiles);
    }

    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::json::exception& /*error*/) {
        // A number too large for a double is well-formed, but none that an index can hold.
        return Refuse(Refusal::kNotJson);
    }

private:
    bool Refuse(Refusal refusal) {
        m_refusal = refusal;
        return false;
    }

    static bool HasAll(unsigned int seen, unsigned int fields) {
        return seen == (1U << fields) - 1;
    }

    [[nodiscard]] bool IsIgnoredValue() const {
        return (m_place == Place::kTop || m_place == Place::kFile) && !m_field.has_value();
    }

    bool EnterIgnored() {
        ++m_ignoredDepth;
        return true;
    }

    template <std::size_t Count>
    bool TakeKey(const std::array<std::string_view, Count>& names, std::string_view name,
                 unsigned int& seen) {
        const auto* found = std::find(names.begin(), names.end(), name);
        m_field.reset();
        if (found == names.end()) {
            return true;
        }
        const auto field = static_cast<unsigned int>(found - names.begin());
        if ((seen & 1U << field) != 0) {
            return Refuse(Refusal::kRepeatedField);
        }
        seen |= 1U << field;
        m_field = field;
        return true;
    }

    bool Scalar(Value value, bool isNumber = false) {
        if (m_ignoredDepth > 0 || IsIgnoredValue()) {
            return true;
        }
        switch (m_place) {
            case Place::kTop:
                return TakeTop(value, isNumber);
            case Place::kFile:
                return TakeOfFile(m_index.files.back(), value, isNumber);
            case Place::kFileList:
                return Refuse(Refusal::kWrongFieldType);
            case Place::kBefore:
            case Place::kAfter:
                break;
        }
        return Refuse(Refusal::kNotJson);
    }

    bool TakeTop(const Value& value, bool isNumber) {
        switch (*m_field) {
            case kFormat: {
                std::uint64_t format = 0;
                return TakeNumber(value, isNumber, {1, 1}, Refusal::kUnknownFormat, format);
            }
            case kSerial:
                return TakeNumber(value, isNumber, {1, std::numeric_limits<std::uint64_t>::max()},
                                  Refusal::kBadSerial, m_index.serial);
            case kMade:
                return TakeTime(value, m_index.made);
            case kExpires:
                return TakeTime(value, m_index.expires);
            default:
                return Refuse(Refusal::kWrongFieldType);  // the list of files
        }
    }

    bool TakeOfFile(IndexedFile& file, const Value& value, bool isNumber) {
        switch (*m_field) {
            case kName:
                return TakeName(value, file.name);
            case kSize:
                return TakeNumber(value, isNumber, {1, kMaxFileSize}, Refusal::kBadFileSize,
                                  file.size) &&
                       AddToTotal(file.size);
            case kSha256:
                return TakeDigest(value, file.sha256);
            default: {
                std::uint64_t version = 0;
                constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
                const bool isFine =
                    TakeNumber(value, isNumber, {0, kMax}, Refusal::kBadFileVersion, version);
                file.version = static_cast<std::uint32_t>(version);
                return isFine;
            }
        }
    }

    struct Range {
        std::uint64_t least;
        std::uint64_t most;
    };

    bool TakeNumber(const Value& value, bool isNumber, Range range, Refusal refusal,
                    std::uint64_t& number) {
        if (!isNumber) {
            return Refuse(Refusal::kWrongFieldType);
        }
        // One with a sign, a point or an exponent is a number, but never a fitting one.
        const auto* given = std::get_if<std::uint64_t>(&value);
        if (given == nullptr || *given < range.least || *given > range.most) {
            return Refuse(refusal);
        }
        number = *given;
        return true;
    }

    bool TakeTime(const Value& value, std::time_t& time) {
        const auto* text = std::get_if<std::string_view>(&value);
        if (text == nullptr) {
            return Refuse(Refusal::kWrongFieldType);
        }
        return ParseTime(*text, time) || Refuse(Refusal::kBadDate);
    }

    bool TakeName(const Value& value, std::string& name) {
        const auto* text = std::get_if<std::string_view>(&value);
        if (text == nullptr) {
            return Refuse(Refusal::kWrongFieldType);
        }
        const Refusal refusal = CheckFileName(*text);
        name = *text;
        return refusal == Refusal::kNone || Refuse(refusal);
    }

    bool TakeDigest(const Value& value, std::string& digest) {
        const auto* text = std::get_if<std::string_view>(&value);
        if (text == nullptr) {
            return Refuse(Refusal::kWrongFieldType);
        }
        digest = *text;
        return IsDigest(*text) || Refuse(Refusal::kBadFileDigest);
    }

    bool AddToTotal(std::uint64_t size) {
        m_total += size;
        return m_total <= kMaxTotalSize || Refuse(Refusal::kTooLargeInAll);
    }

    bool EndIndex() {
        if (!HasAll(m_seen, kTopFields)) {
            return Refuse(Refusal::kMissingField);
        }
        if (m_index.expires <= m_index.made) {
            return Refuse(Refusal::kBadDate);
        }
        return HasDistinctNames() || Refuse(Refusal::kRepeatedFileName);
    }

    [[nodiscard]] bool HasDistinctNames() const {
        std::vector<std::string_view> names;
        names.reserve(m_index.files.size());
        for (const IndexedFile& file : m_index.files) {
            names.push_back(file.name);
        }
        std::sort(names.begin(), names.end());
        return std::adjacent_find(names.begin(), names.end()) == names.end();
    }

    Index& m_index;
    Refusal m_refusal = Refusal::kNone;
    Place m_place = Place::kBefore;
    std::optional<unsigned int> m_field;  // none for one that is passed over
    unsigned int m_seen = 0;
    unsigned int m_seenInFile = 0;
    std::size_t m_ignoredDepth = 0;
    std::uint64_t m_total = 0;
};

}  // namespace

Refusal ParseIndex(std::string_view text, Index& index) {
    index = {};
    if (text.size() > kMaxIndexSize) {
        return Refusal::kIndexTooLarge;
    }
    // The parser would pass a byte order mark over, and an end of the text at a zero byte.
    if (text.starts_with("\xEF\xBB\xBF") || text.find('\0') != std::string_view::npos) {
        return Refusal::kNotJson;
    }
    Reader reader(index);
    const bool isWhole = nlohmann::json::sax_parse(text.begin(), text.end(), &reader);
    return isWhole || reader.Why() != Refusal::kNone ? reader.Why() : Refusal::kNotJson;
}

}  // namespace signed_index
