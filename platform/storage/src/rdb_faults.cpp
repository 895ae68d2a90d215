#include "rdb_faults.h"

#include <functional>
#include <mutex>

#include "rdb_errno.h"

namespace OHOS::Emulator {
namespace {

struct FaultState {
    std::mutex mutex;
    bool openFails = false;
    bool diskFull = false;
    int failAt = 0; // operation number (1-based, of OperationCount) that fails first; 0 = none
    bool persistent = false;
    int operations = 0;
    int injected = 0;
    std::function<void(int)> observer;
    std::function<void(const std::string&, int64_t)> batchObserver;
};

FaultState& State()
{
    static FaultState state;
    return state;
}

} // namespace

void RdbFaults::Reset()
{
    FaultState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.openFails = false;
    state.diskFull = false;
    state.failAt = 0;
    state.persistent = false;
    state.operations = 0;
    state.injected = 0;
    state.observer = nullptr;
    state.batchObserver = nullptr;
}

void RdbFaults::SetOperationObserver(std::function<void(int operation)> observer)
{
    FaultState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.observer = std::move(observer);
}

void RdbFaults::SetBatchObserver(std::function<void(const std::string& table, int64_t rows)> observer)
{
    FaultState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.batchObserver = std::move(observer);
}

void RdbFaults::OnBatchInserted(const std::string& table, int64_t rows)
{
    FaultState& state = State();
    std::unique_lock<std::mutex> lock(state.mutex);
    const auto observer = state.batchObserver;
    lock.unlock();
    if (observer) {
        observer(table, rows);
    }
}

void RdbFaults::SetOpenFails(bool fails)
{
    FaultState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.openFails = fails;
}

bool RdbFaults::OpenFails()
{
    FaultState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.openFails;
}

void RdbFaults::FailNthOperation(int nth, bool persistent)
{
    FaultState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.failAt = nth > 0 ? state.operations + nth : 0;
    state.persistent = persistent;
}

void RdbFaults::SetDiskFull(bool full)
{
    FaultState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.diskFull = full;
}

int RdbFaults::OperationCount()
{
    FaultState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.operations;
}

int RdbFaults::InjectedFailures()
{
    FaultState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.injected;
}

int RdbFaults::OnOperation(bool writesToFile)
{
    FaultState& state = State();
    std::unique_lock<std::mutex> lock(state.mutex);
    ++state.operations;
    if (state.observer) {
        const std::function<void(int)> observer = state.observer;
        const int operation = state.operations;
        lock.unlock();
        observer(operation);
        lock.lock();
    }
    int error = NativeRdb::E_OK;
    if (state.failAt > 0 &&
        (state.operations == state.failAt || (state.persistent && state.operations > state.failAt))) {
        error = NativeRdb::E_SQLITE_IOERR;
    } else if (state.diskFull && writesToFile) {
        error = NativeRdb::E_SQLITE_FULL;
    }
    if (error != NativeRdb::E_OK) {
        ++state.injected;
    }
    return error;
}

} // namespace OHOS::Emulator
