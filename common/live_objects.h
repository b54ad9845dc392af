#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <vector>

// Which objects of one type are there, by the context that a loaded library was given with its
// callback. The library may call back when the object and all that it owned are gone.

namespace common {

/// The objects of one type that are there. Any thread.
template <typename Object>
class LiveObjects {
public:
    void Add(const void* context, Object& object) {
        const std::scoped_lock lock(m_mutex);
        m_entries.push_back({context, &object, 0});
    }

    /// Waits until nobody uses it.
    void Remove(const void* context) {
        std::unique_lock lock(m_mutex);
        Find(context)->object = nullptr;  // nobody new
        m_released.wait(lock, [this, context] { return Find(context)->users == 0; });
        std::erase_if(m_entries, [context](const Entry& each) { return each.context == context; });
    }

    /// Null when there is none, or no more. What is not null is to be released.
    Object* Use(const void* context) {
        const std::scoped_lock lock(m_mutex);
        Entry* entry = Find(context);
        if (entry == nullptr || entry->object == nullptr) {
            return nullptr;
        }
        ++entry->users;
        return entry->object;
    }

    void Release(const void* context) {
        const std::scoped_lock lock(m_mutex);
        if (--Find(context)->users == 0) {
            m_released.notify_all();
        }
    }

private:
    struct Entry {
        const void* context;
        Object* object;
        int users;
    };

    /// The entry of a context; null when there is none.
    Entry* Find(const void* context) {
        const auto entry = std::ranges::find(m_entries, context, &Entry::context);
        return entry != m_entries.end() ? &*entry : nullptr;
    }

    std::mutex m_mutex;
    std::condition_variable m_released;
    std::vector<Entry> m_entries;
};

template <typename Object>
inline LiveObjects<Object> liveObjects;

/// Makes an object known by its context, as long as this lives.
template <typename Object>
class LiveObject {
public:
    LiveObject(const void* context, Object& object) : m_context(context) {
        liveObjects<Object>.Add(context, object);
    }
    /// Waits until nobody uses the object through ObjectInUse.
    ~LiveObject() { liveObjects<Object>.Remove(m_context); }
    LiveObject(const LiveObject&) = delete;
    LiveObject& operator=(const LiveObject&) = delete;

private:
    const void* m_context;
};

/// Keeps the object of a context from going away. Any thread.
template <typename Object>
class ObjectInUse {
public:
    explicit ObjectInUse(const void* context)
        : m_context(context), m_object(liveObjects<Object>.Use(context)) {}
    ~ObjectInUse() {
        if (m_object != nullptr) {
            liveObjects<Object>.Release(m_context);
        }
    }
    ObjectInUse(const ObjectInUse&) = delete;
    ObjectInUse& operator=(const ObjectInUse&) = delete;

    /// Null when there is no such object, or no more.
    [[nodiscard]] Object* Get() const { return m_object; }

private:
    const void* m_context;
    Object* m_object;
};

}  // namespace common
