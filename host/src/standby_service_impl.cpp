#include "standby_service_impl.h"

namespace OHOS::DevStandbyMgr {
namespace {
constexpr const char* kHandlerThreadName = "StandbyService";
} // namespace

std::shared_ptr<StandbyServiceImpl> StandbyServiceImpl::GetInstance()
{
    static const std::shared_ptr<StandbyServiceImpl> instance = std::make_shared<StandbyServiceImpl>();
    return instance;
}

std::shared_ptr<AppExecFwk::EventHandler> StandbyServiceImpl::GetHandler()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (!handler_) {
        handler_ = AppExecFwk::EventHandler::CreateRealTime(kHandlerThreadName);
    }
    return handler_;
}

void StandbyServiceImpl::DispatchEvent(const StandbyMessage& message)
{
    std::weak_ptr<StandbyServiceImpl> weakSelf = GetInstance();
    GetHandler()->PostTask([weakSelf, message]() {
        if (auto self = weakSelf.lock()) {
            self->DeliverMessage(message);
        }
    });
}

void StandbyServiceImpl::DeliverMessage(const StandbyMessage& message)
{
    std::function<void(const StandbyMessage&)> observer;
    std::shared_ptr<IBaseStrategy> strategy;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        observer = observer_;
        strategy = strategy_;
    }
    if (observer) {
        observer(message);
    }
    if (strategy) {
        strategy->HandleEvent(message);
    }
}

void StandbyServiceImpl::SetHandler(std::shared_ptr<AppExecFwk::EventHandler> handler)
{
    std::lock_guard<std::mutex> lock(mutex_);
    handler_ = std::move(handler);
}

void StandbyServiceImpl::RegisterStrategy(std::shared_ptr<IBaseStrategy> strategy)
{
    std::lock_guard<std::mutex> lock(mutex_);
    strategy_ = std::move(strategy);
}

std::shared_ptr<IBaseStrategy> StandbyServiceImpl::GetStrategy()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return strategy_;
}

ErrCode StandbyServiceImpl::OnCreated()
{
    std::shared_ptr<IBaseStrategy> strategy = GetStrategy();
    return strategy ? strategy->OnCreated() : ERR_STRATEGY_NOT_REGISTERED;
}

ErrCode StandbyServiceImpl::OnDestroy()
{
    std::shared_ptr<IBaseStrategy> strategy = GetStrategy();
    return strategy ? strategy->OnDestroy() : ERR_STRATEGY_NOT_REGISTERED;
}

ErrCode StandbyServiceImpl::ShellDump(const std::vector<std::string>& argsInStr, std::string& result)
{
    std::shared_ptr<IBaseStrategy> strategy = GetStrategy();
    if (!strategy) {
        return ERR_STRATEGY_NOT_REGISTERED;
    }
    strategy->ShellDump(argsInStr, result);
    return ERR_OK;
}

void StandbyServiceImpl::SetMessageObserver(std::function<void(const StandbyMessage&)> observer)
{
    std::lock_guard<std::mutex> lock(mutex_);
    observer_ = std::move(observer);
}

void StandbyServiceImpl::Reset()
{
    // Released after unlocking: destroying them may run code (a handler task, a strategy's teardown)
    // that calls back into the host.
    std::shared_ptr<AppExecFwk::EventHandler> handler;
    std::shared_ptr<IBaseStrategy> strategy;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        handler = std::move(handler_);
        strategy = std::move(strategy_);
        observer_ = nullptr;
    }
}

} // namespace OHOS::DevStandbyMgr
