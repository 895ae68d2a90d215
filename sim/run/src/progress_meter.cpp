#include "progress_meter.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <sstream>
#include <unistd.h>

namespace OHOS::Sim {

namespace {

constexpr auto kShowAfter = std::chrono::seconds(3);
constexpr auto kRedrawEvery = std::chrono::seconds(1);
constexpr auto kLineEvery = std::chrono::seconds(10);
constexpr int32_t kBarWidth = 24;

std::string Bar(const ProgressState& state)
{
    const double share = state.nights > 0 ? std::clamp(double(state.nightsDone) / double(state.nights), 0.0, 1.0) : 0.0;
    const auto filled = static_cast<size_t>(std::lround(share * kBarWidth));
    return "[" + std::string(filled, '#') + std::string(kBarWidth - filled, ' ') + "] ";
}

} // namespace

std::string FormatProgress(const ProgressState& state, double nightsPerSecond, bool bar)
{
    std::ostringstream text;
    if (bar) {
        text << Bar(state);
    }
    if (state.persons > 0) {
        text << "person " << state.person << " of " << state.persons << ", ";
    }
    text << "night " << state.nightsDone << " of " << state.nights << ", " << std::lround(nightsPerSecond)
         << " nights/s";
    return text.str();
}

bool IsTerminal(const std::ostream* out)
{
    if (out == &std::cout) {
        return isatty(STDOUT_FILENO) == 1;
    }
    if (out == &std::cerr || out == &std::clog) {
        return isatty(STDERR_FILENO) == 1;
    }
    return false;
}

ProgressMeter::ProgressMeter(std::ostream* out, bool terminal, Clock::time_point start)
    : out_(out), terminal_(terminal), started_(start), lastShown_(start)
{
}

double ProgressMeter::NightsPerSecond(Clock::time_point now) const
{
    const double seconds = std::chrono::duration<double>(now - started_).count();
    return seconds > 0 ? double(last_.nightsDone) / seconds : 0.0;
}

void ProgressMeter::Update(const ProgressState& state, Clock::time_point now)
{
    last_ = state;
    const auto every = terminal_ ? kRedrawEvery : kLineEvery;
    if (out_ == nullptr || now - started_ < kShowAfter || (shown_ && now - lastShown_ < every)) {
        return;
    }
    lastShown_ = now;
    shown_ = true;
    const std::string text = "sleepsim: " + FormatProgress(state, NightsPerSecond(now), terminal_);
    if (terminal_) {
        *out_ << "\r" << text << "\033[K" << std::flush; // \033[K clears what a longer line left
    } else {
        *out_ << text << "\n" << std::flush;
    }
}

void ProgressMeter::Finish(Clock::time_point now)
{
    if (!shown_) {
        return;
    }
    last_.nightsDone = last_.nights;
    const std::string text = "sleepsim: done, " + FormatProgress(last_, NightsPerSecond(now), false);
    *out_ << (terminal_ ? "\r" + text + "\033[K" : text) << "\n" << std::flush;
    shown_ = false;
}

} // namespace OHOS::Sim
