#ifndef PLATFORM_INCLUDE_HISYSEVENT_H
#define PLATFORM_INCLUDE_HISYSEVENT_H

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace OHOS::HiviewDFX {

// The platform's system-event writer. Each event is one JSON object appended as one line to the
// event file under the data root (see OHOS::Emulator::SysEventFilePath):
//   {"time": <wall ms>, "domain": "...", "name": "...", "type": <int>, "params": {key: value, ...}}
// Parameters keep the order in which they were passed. Thread-safe.
class HiSysEvent {
public:
    struct Domain {
        static constexpr char RSS[] = "RSS";
    };

    enum EventType : int32_t {
        FAULT = 1,
        STATISTIC = 2,
        SECURITY = 3,
        BEHAVIOR = 4,
    };

    // Result codes of Write.
    static constexpr int32_t SUCCESS = 0;
    static constexpr int32_t ERR_INVALID_EVENT = -1; // empty domain or name, or an empty or repeated key
    static constexpr int32_t ERR_WRITE_FAILED = -2;  // the event file could not be written (or made to fail)

    // Writes one event. `keyValues` are pairs: a key (string) followed by its value; values may be
    // bool, any integer type, float, double, strings, or vectors of those (e.g. a list of doubles).
    // Returns SUCCESS or one of the error codes above; nothing is written on error.
    template <typename... Types>
    static int32_t Write(const std::string& domain, const std::string& eventName, EventType type, Types... keyValues)
    {
        static_assert(sizeof...(Types) % 2 == 0, "parameters come as key/value pairs");
        nlohmann::ordered_json params = nlohmann::ordered_json::object();
        if (!AddParams(params, keyValues...)) {
            return ERR_INVALID_EVENT;
        }
        return WriteEvent(domain, eventName, type, std::move(params));
    }

private:
    static bool AddParams(nlohmann::ordered_json&) { return true; }

    template <typename Value, typename... Rest>
    static bool AddParams(nlohmann::ordered_json& params, const std::string& key, const Value& value, Rest... rest)
    {
        if (key.empty() || params.contains(key)) {
            return false;
        }
        params[key] = ToJson(value);
        return AddParams(params, rest...);
    }

    template <typename Value> static nlohmann::ordered_json ToJson(const Value& value)
    {
        return nlohmann::ordered_json(value);
    }

    // A float is written with the shortest decimal text that reads back as the same float.
    static nlohmann::ordered_json ToJson(float value);

    static nlohmann::ordered_json ToJson(const std::vector<float>& values)
    {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (float value : values) {
            list.push_back(ToJson(value));
        }
        return list;
    }

    static int32_t WriteEvent(
        const std::string& domain, const std::string& eventName, EventType type, nlohmann::ordered_json params);
};

} // namespace OHOS::HiviewDFX

namespace OHOS::Emulator {

// One event as read back from the event file.
struct SysEventRecord {
    int64_t timeMs = 0;
    std::string domain;
    std::string name;
    int32_t type = 0;
    nlohmann::ordered_json params;
};

// The event file: "<data root>/data/log/hisysevent/sys_event.jsonl".
std::string SysEventFilePath();
// Every event in the current event file, in writing order; lines that cannot be parsed are skipped.
std::vector<SysEventRecord> ReadSysEvents();
// Only the events with this name.
std::vector<SysEventRecord> ReadSysEvents(const std::string& eventName);
// Removes the event file.
void ClearSysEvents();
// While true, every HiSysEvent::Write fails with ERR_WRITE_FAILED and writes nothing.
void SetSysEventWriteFails(bool fails);
// Calls `listener` with every event written from now on and its parameters' JSON text as the event
// file holds it, right after it is written, on the writing thread and in writing order (writers
// are serialised); nullptr for none. The listener must not write or read events.
using SysEventListener = std::function<void(const SysEventRecord& record, const std::string& paramsText)>;
void SetSysEventListener(SysEventListener listener);
// Makes the nth write from now fail, and with `persistent` every later one; restarts the count.
// nth <= 0 disarms.
void FailNthSysEventWrite(int nth, bool persistent);
// Writes counted since the last FailNthSysEventWrite.
int SysEventWriteCount();

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_HISYSEVENT_H
