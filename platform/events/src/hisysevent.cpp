#include "hisysevent.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <fstream>
#include <mutex>

#include "call_fault.h"
#include "data_root.h"
#include "json_text.h"
#include "time_service_client.h"

namespace OHOS::Emulator {
namespace {

constexpr char kSysEventPhonePath[] = "/data/log/hisysevent/sys_event.jsonl";
constexpr char kSysEventPhoneDir[] = "/data/log/hisysevent";

CallFault& WriteFault()
{
    static CallFault fault;
    return fault;
}

SysEventListener& Listener()
{
    static SysEventListener listener;
    return listener;
}

std::mutex& FileMutex()
{
    static std::mutex mutex;
    return mutex;
}

// The event file held open between writes, so that a write costs one check and one append instead
// of mapping the path and opening the file again. Reopened when the data root changes or the file
// has lost its name (cleared, or its folder removed). REQUIRES: FileMutex() is held.
class HeldEventFile {
public:
    ~HeldEventFile() { Close(); }

    // The descriptor to append to, or -1 when the file cannot be opened.
    int Descriptor()
    {
        const std::string root = GetDataRoot();
        struct stat info {};
        if (fd_ >= 0 && root == root_ && fstat(fd_, &info) == 0 && info.st_nlink > 0) {
            return fd_;
        }
        Close();
        root_ = root;
        fd_ = Open();
        return fd_;
    }

private:
    // Created readable by its owner only; the folder is made with the first event under a data root.
    static int Open()
    {
        const std::string path = SysEventFilePath();
        int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        if (fd < 0 && MakeDirectories(MapPhonePath(kSysEventPhoneDir))) {
            fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        }
        return fd;
    }

    void Close()
    {
        if (fd_ >= 0) {
            close(fd_);
            fd_ = -1;
        }
    }

    std::string root_;
    int fd_ = -1;
};

HeldEventFile& EventFile()
{
    static HeldEventFile file;
    return file;
}

// The record as one line of the event file: the JSON object of the file's format, written field by
// field so that the parameters are not copied into a whole event object first.
std::string EventLine(const SysEventRecord& record, const std::string& paramsText)
{
    std::string line = "{\"time\":" + std::to_string(record.timeMs);
    line.append(",\"domain\":");
    AppendJsonString(record.domain, line);
    line.append(",\"name\":");
    AppendJsonString(record.name, line);
    line.append(",\"type\":").append(std::to_string(record.type));
    line.append(",\"params\":").append(paramsText).append("}\n");
    return line;
}

bool ParseLine(const std::string& line, SysEventRecord& record)
{
    nlohmann::ordered_json event = nlohmann::ordered_json::parse(line, nullptr, false);
    if (event.is_discarded() || !event.is_object()) {
        return false;
    }
    record.timeMs = event.value("time", int64_t{0});
    record.domain = event.value("domain", std::string());
    record.name = event.value("name", std::string());
    record.type = event.value("type", int32_t{0});
    record.params = event.contains("params") ? event["params"] : nlohmann::ordered_json::object();
    return true;
}

} // namespace

std::string SysEventFilePath()
{
    return MapPhonePath(kSysEventPhonePath);
}

std::vector<SysEventRecord> ReadSysEvents()
{
    std::lock_guard<std::mutex> lock(FileMutex());
    std::vector<SysEventRecord> events;
    std::ifstream file(SysEventFilePath());
    std::string line;
    while (std::getline(file, line)) {
        SysEventRecord record;
        if (ParseLine(line, record)) {
            events.push_back(std::move(record));
        }
    }
    return events;
}

std::vector<SysEventRecord> ReadSysEvents(const std::string& eventName)
{
    std::vector<SysEventRecord> named;
    for (SysEventRecord& record : ReadSysEvents()) {
        if (record.name == eventName) {
            named.push_back(std::move(record));
        }
    }
    return named;
}

void ClearSysEvents()
{
    std::lock_guard<std::mutex> lock(FileMutex());
    std::remove(SysEventFilePath().c_str());
}

void SetSysEventListener(SysEventListener listener)
{
    std::lock_guard<std::mutex> lock(FileMutex());
    Listener() = std::move(listener);
}

void SetSysEventWriteFails(bool fails)
{
    WriteFault().SetAlways(fails);
}

void FailNthSysEventWrite(int nth, bool persistent)
{
    WriteFault().FailNth(nth, persistent);
}

int SysEventWriteCount()
{
    return WriteFault().Calls();
}

} // namespace OHOS::Emulator

namespace OHOS::HiviewDFX {

nlohmann::ordered_json HiSysEvent::ToJson(float value)
{
    char text[32] = {};
    auto result = std::to_chars(text, text + sizeof(text), value);
    return nlohmann::ordered_json(std::strtod(std::string(text, result.ptr).c_str(), nullptr));
}

int32_t HiSysEvent::WriteEvent(
    const std::string& domain, const std::string& eventName, EventType type, nlohmann::ordered_json params)
{
    if (domain.empty() || eventName.empty()) {
        return ERR_INVALID_EVENT;
    }
    if (Emulator::WriteFault().OnCall()) {
        return ERR_WRITE_FAILED;
    }
    Emulator::SysEventRecord record{MiscServices::TimeServiceClient::GetInstance()->GetWallTimeMs(), domain,
        eventName, static_cast<int32_t>(type), std::move(params)};
    std::string paramsText;
    Emulator::AppendJsonText(record.params, paramsText);
    const std::string line = Emulator::EventLine(record, paramsText);

    std::lock_guard<std::mutex> lock(Emulator::FileMutex());
    const int fd = Emulator::EventFile().Descriptor();
    if (fd < 0) {
        return ERR_WRITE_FAILED;
    }
    if (write(fd, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        return ERR_WRITE_FAILED;
    }
    if (Emulator::Listener()) {
        Emulator::Listener()(record, paramsText);
    }
    return SUCCESS;
}

} // namespace OHOS::HiviewDFX
