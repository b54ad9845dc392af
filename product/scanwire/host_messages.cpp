#include "product/scanwire/host_messages.h"

#include "product/scanwire/bounds.h"
#include "product/scanwire/fields.h"
#include "product/scanwire/switches.h"

namespace scanwire {

namespace {

enum ToHostKind : std::uint8_t { kDatabase = 1, kLoad, kReplace };
enum FromHostKind : std::uint8_t { kLeftOut = 17, kLog, kLoaded, kNotLoaded, kWorker, kEnded };

// Each writes its kind and its fields, in the order of the structure.
class Writer {
public:
    explicit Writer(std::string& packet) : m_fields(packet) {}

    void operator()(const Database& message) {
        m_fields.U8(kDatabase);
        m_fields.Text(message.path, kMaxPath);
    }
    void operator()(const Load& message) {
        m_fields.U8(kLoad);
        m_fields.U32(message.workers);
        m_fields.U32(message.memoryLimitMiB);
        m_fields.Text(message.scratchBase, kMaxPath);
        m_fields.U32(message.switches);
    }
    void operator()(const Replace& message) {
        m_fields.U8(kReplace);
        m_fields.U32(message.worker);
        m_fields.U32(message.generation);
    }
    void operator()(const LeftOut& message) {
        m_fields.U8(kLeftOut);
        m_fields.Text(message.path, kMaxPath);
        m_fields.Text(message.reason, kMaxReason);
    }
    void operator()(const Log& message) {
        m_fields.U8(kLog);
        m_fields.Text(message.text, kMaxLogText);
    }
    void operator()(const Loaded& message) {
        m_fields.U8(kLoaded);
        m_fields.U64(message.signatures);
    }
    void operator()(const NotLoaded& message) {
        m_fields.U8(kNotLoaded);
        m_fields.Text(message.reason, kMaxReason);
    }
    void operator()(const Worker& message) {
        m_fields.U8(kWorker);
        m_fields.U32(message.worker);
        m_fields.U32(message.generation);
        m_fields.U32(static_cast<std::uint32_t>(message.pid));
    }
    void operator()(const Ended& message) {
        m_fields.U8(kEnded);
        m_fields.U32(message.worker);
        m_fields.U32(message.generation);
        m_fields.U32(static_cast<std::uint32_t>(message.status));
    }

private:
    FieldWriter m_fields;
};

// The members of each message are read in the order of its braces.

ToHost ReadDatabase(FieldReader& fields) {
    Database message{.path = std::string(fields.Text(kMaxPath))};
    fields.FailUnless(!message.path.empty());
    return message;
}

ToHost ReadLoad(FieldReader& fields) {
    Load message{.workers = fields.U32(),
                 .memoryLimitMiB = fields.U32(),
                 .scratchBase = std::string(fields.Text(kMaxPath)),
                 .switches = fields.U32()};
    fields.FailUnless(message.workers >= 1 && message.workers <= kMaxWorkers &&
                      (message.switches & ~kAllSwitches) == 0);
    return message;
}

ToHost ReadReplace(FieldReader& fields) {
    return Replace{.worker = fields.U32(), .generation = fields.U32()};
}

FromHost ReadLeftOut(FieldReader& fields) {
    LeftOut message{.path = std::string(fields.Text(kMaxPath)),
                    .reason = std::string(fields.Text(kMaxReason))};
    fields.FailUnless(!message.path.empty());
    return message;
}

FromHost ReadWorker(FieldReader& fields) {
    Worker message{.worker = fields.U32(),
                   .generation = fields.U32(),
                   .pid = static_cast<std::int32_t>(fields.U32())};
    fields.FailUnless(message.worker < kMaxWorkers && message.generation >= 1 && message.pid > 1);
    return message;
}

FromHost ReadEnded(FieldReader& fields) {
    Ended message{.worker = fields.U32(),
                  .generation = fields.U32(),
                  .status = static_cast<std::int32_t>(fields.U32())};
    fields.FailUnless(message.worker < kMaxWorkers && message.generation >= 1);
    return message;
}

template <typename Message>
std::string WrittenMessage(const Message& message) {
    std::string packet;
    std::visit(Writer(packet), message);
    return packet;
}

template <typename Message>
std::optional<Message> Whole(const FieldReader& fields, Message message) {
    return fields.IsDone() ? std::optional(std::move(message)) : std::nullopt;
}

}  // namespace

std::string Written(const ToHost& message) {
    return WrittenMessage(message);
}

std::string Written(const FromHost& message) {
    return WrittenMessage(message);
}

std::optional<ToHost> ReadToHost(std::string_view packet) {
    FieldReader fields(packet);
    switch (fields.U8()) {
        case kDatabase:
            return Whole(fields, ReadDatabase(fields));
        case kLoad:
            return Whole(fields, ReadLoad(fields));
        case kReplace:
            return Whole(fields, ReadReplace(fields));
        default:
            return std::nullopt;
    }
}

std::optional<FromHost> ReadFromHost(std::string_view packet) {
    FieldReader fields(packet);
    switch (fields.U8()) {
        case kLeftOut:
            return Whole(fields, ReadLeftOut(fields));
        case kLog:
            return Whole(fields, FromHost(Log{std::string(fields.Text(kMaxLogText))}));
        case kLoaded:
            return Whole(fields, FromHost(Loaded{fields.U64()}));
        case kNotLoaded:
            return Whole(fields, FromHost(NotLoaded{std::string(fields.Text(kMaxReason))}));
        case kWorker:
            return Whole(fields, ReadWorker(fields));
        case kEnded:
            return Whole(fields, ReadEnded(fields));
        default:
            return std::nullopt;
    }
}

}  // namespace scanwire
