#include "person_model.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <map>

namespace OHOS::Sim {

namespace {

constexpr double kWakingDayHours = 16;
constexpr int64_t kMinSleepMs = 2 * kMsPerHour;
constexpr int64_t kAwakeningMarginMs = 30 * kMsPerMinute; // none right after onset or before waking
constexpr int64_t kSessionGapMs = 30 * kMsPerSecond;      // between two uses of the phone
constexpr double kPocketChance = 0.3;                     // a day session ends with the phone in a pocket
constexpr double kGlanceChance = 0.1;                     // a day session is a glance without unlocking
constexpr double kAnswerChance = 0.8;                     // a day call is answered
constexpr double kNightAnswerChance = 0.5;
constexpr int64_t kRunTailMs = 10 * kMsPerMinute; // after the last morning use, when it ends past noon
constexpr double kRecordedUnlockEndMin = 6 * 60;  // recorded night unlocks count until 06:00
constexpr double kShortestUnlockMin = 0.2;
constexpr double kLongestUnlockMin = 30;
constexpr int64_t kUnlockDelayMs = 5 * kMsPerSecond;          // from picking the phone up to unlocking it
constexpr int64_t kAwakeBeforePickupMs = 20 * kMsPerSecond;   // a night unlock: awake before reaching out
constexpr int64_t kAwakeAfterScreenOffMs = 1 * kMsPerMinute;  // and before falling asleep again
constexpr int64_t kAsleepAfterPhoneDownMs = 1 * kMsPerMinute; // the least time from phone down to sleep
constexpr int64_t kCarryToBedMs = 10 * kMsPerSecond;          // screen on, not unlocked, on the way to bed
const std::array<const char*, 4> kPackages = {
    "com.example.chat", "com.example.mail", "com.example.news", "com.example.shop"};

int64_t Minutes(double minutes)
{
    return static_cast<int64_t>(std::llround(minutes * kMsPerMinute));
}

// Minutes of phone use in bed and then to fall asleep.
struct InBed {
    double useMin = 0;
    double latencyMin = 0;
};

struct NightStart {
    bool weekend = false;
    int64_t bedMs = 0;
    InBed inBed;
    int64_t freeFromMs = 0; // the end of the previous morning's use: nothing of this night starts before it
};

// A recorded night's phone unlocks and awake minutes, as the person follows them.
struct RecordedNight {
    CivilDate wakeDate;
    int64_t midnightMs = 0;         // 00:00 of the wake date, where the recorded unlocks start to count
    std::vector<int64_t> unlocksMs; // in time order, all before the wake
    int64_t useMs = 0;              // each unlock: from unlocking to switching the screen off
    double awakeMin = -1;           // awake between onset and wake; negative: not recorded
};

// The recorded count of unlocks spread evenly over 00:00-06:00 of the wake date from the first one on,
// each lasting an equal share of the recorded minutes. Those at or after the wake are left out: the
// morning's use of the phone stands for them.
RecordedNight RecordedNightOf(const ScheduledNight& scheduled, int64_t wakeMs)
{
    RecordedNight night;
    night.wakeDate = scheduled.wakeDate;
    night.midnightMs = LocalTimeMs(scheduled.wakeDate, 0);
    night.awakeMin = scheduled.awakeMin;
    if (scheduled.unlocks <= 0) {
        return night;
    }
    night.useMs = Minutes(std::clamp(scheduled.unlockMin / scheduled.unlocks, kShortestUnlockMin, kLongestUnlockMin));
    const double stepMin = (kRecordedUnlockEndMin - scheduled.firstUnlockMin) / scheduled.unlocks;
    for (int32_t i = 0; i < scheduled.unlocks; ++i) {
        const int64_t unlock = night.midnightMs + Minutes(scheduled.firstUnlockMin + i * stepMin);
        if (unlock >= wakeMs) {
            break;
        }
        night.unlocksMs.push_back(unlock);
    }
    return night;
}

// A recorded unlock: the phone picked up from where it lies, unlocked, used, put back.
PhoneSession RecordedUnlock(int64_t unlockMs, int64_t useMs, RestPlace placeAfter)
{
    PhoneSession session;
    session.pickupMs = unlockMs - kUnlockDelayMs;
    session.screenOnMs = session.pickupMs + 2 * kMsPerSecond;
    session.unlockMs = unlockMs;
    session.screenOffMs = unlockMs + useMs;
    session.placeAfter = placeAfter;
    return session;
}

class Planner {
public:
    explicit Planner(const Scenario& scenario) : scenario_(scenario), habits_(scenario.habits), random_(scenario.seed)
    {
        plan_.startMs = LocalTimeMs(scenario.startDate, kNoonMin);
        plan_.endMs = LocalTimeMs(AddDays(scenario.startDate, scenario.days), kNoonMin);
        for (const ScheduledNight& night : scenario.schedule) {
            recorded_.emplace(FormatCivilDate(night.wakeDate), &night);
        }
    }

    PersonPlan Run()
    {
        int64_t cursor = plan_.startMs;
        for (int32_t n = 0; n < scenario_.days; ++n) {
            const CivilDate evening = AddDays(scenario_.startDate, n);
            const CivilDate morning = AddDays(evening, 1);
            const ScheduledNight* scheduled = ScheduledNightEnding(morning);
            const bool weekend = WeekDay(scheduled != nullptr ? morning : UsualWakeDate(evening)) >= 6;
            if (scheduled != nullptr) {
                cursor = PlanRecordedNight(*scheduled, NightStart{weekend, 0, DrawInBed(), cursor}, evening);
                continue;
            }
            const NightHabits& night = weekend ? habits_.weekend : habits_.weekday;
            int64_t bed = LocalTimeMs(evening, night.EveningBedtimeMin() + Spread(night.bedtimeSpreadMin));
            bed = std::max(bed, cursor + 10 * kMsPerMinute);
            PlanDay(cursor, bed, evening);
            const InBed inBed = DrawInBed();
            cursor = PlanNight(NightStart{weekend, bed, inBed, cursor}, HabitWake(night, evening), nullptr);
        }
        // A night that ends after the closing noon moves the end of the run to after the morning use.
        plan_.endMs = std::max(plan_.endMs, cursor + kRunTailMs);
        PlanDay(cursor, plan_.endMs, AddDays(scenario_.startDate, scenario_.days));
        AssignNoticeClearTimes();
        return plan_;
    }

private:
    // A normal deviation cut at three standard deviations, so no habit turns absurd.
    double Spread(double stddev) { return std::clamp(random_.Normal(0, stddev), -3 * stddev, 3 * stddev); }

    void AddCharge(int64_t begin, int64_t end)
    {
        if (end - begin >= 5 * kMsPerMinute) {
            plan_.charges.push_back(TimeSpan{begin, end});
        }
    }

    bool IsCharging(int64_t t) const
    {
        return std::any_of(plan_.charges.begin(), plan_.charges.end(),
            [t](const TimeSpan& span) { return span.beginMs <= t && t < span.endMs; });
    }

    void AddNotices(int64_t from, int64_t to, double perHour)
    {
        if (perHour <= 0) {
            return;
        }
        for (int64_t t = from + Minutes(random_.Exponential(60 / perHour)); t < to;
             t += Minutes(random_.Exponential(60 / perHour))) {
            const auto pick = static_cast<size_t>(random_.UniformInt(0, kPackages.size() - 1));
            plan_.notices.push_back(Notice{t, kPackages[pick], -1});
        }
    }

    // The waking part between `from` and `to`: charging, uses of the phone, calls, notifications.
    void PlanDay(int64_t from, int64_t to, const CivilDate& date)
    {
        if (to <= from) {
            return;
        }
        if (habits_.charging != ChargingHabit::NIGHT) {
            const double startMin = habits_.chargeStartMin + Spread(habits_.chargeStartSpreadMin);
            int64_t begin = LocalTimeMs(date, startMin);
            if (begin >= to) { // a day that ends before the charging time: the one of the day before
                begin = LocalTimeMs(AddDays(date, -1), startMin);
            }
            const double duration = std::max(5.0, habits_.chargeDurationMin + Spread(habits_.chargeDurationSpreadMin));
            AddCharge(std::max(begin, from), std::min(begin + Minutes(duration), to - 2 * kMsPerMinute));
        }
        const double hours = static_cast<double>(to - from) / kMsPerHour;
        std::vector<int64_t> calls;
        const int32_t callCount = random_.Poisson(habits_.dayCallsPerDay * hours / kWakingDayHours);
        for (int32_t i = 0; i < callCount; ++i) {
            calls.push_back(random_.UniformInt(from, to - 1));
        }
        std::sort(calls.begin(), calls.end());
        PlanDaySessions(from, to, calls);
        AddNotices(from, to, habits_.dayNotificationsPerHour);
    }

    void PlanDaySessions(int64_t from, int64_t to, const std::vector<int64_t>& calls)
    {
        const double meanGapMin = habits_.daySessionsPerHour > 0 ? 60 / habits_.daySessionsPerHour : 0;
        int64_t nextUse = meanGapMin > 0 ? from + Minutes(random_.Exponential(meanGapMin)) : to;
        size_t nextCall = 0;
        int64_t busyUntil = from;
        const int64_t lastEnd = to - kMsPerMinute;
        while (true) {
            const bool callFirst = nextCall < calls.size() && calls[nextCall] <= nextUse;
            const int64_t start = callFirst ? calls[nextCall] : nextUse;
            if (start >= lastEnd) {
                break;
            }
            if (callFirst) {
                ++nextCall;
            } else {
                nextUse += Minutes(random_.Exponential(meanGapMin));
            }
            if (start < busyUntil + kSessionGapMs) {
                continue;
            }
            PhoneSession session = callFirst ? DayCall(start) : DayUse(start);
            if (session.screenOffMs > lastEnd) {
                continue;
            }
            session.placeAfter = (random_.Chance(kPocketChance) && !IsCharging(session.screenOffMs)) ? RestPlace::POCKET
                                                                                                     : RestPlace::DESK;
            busyUntil = session.screenOffMs;
            plan_.sessions.push_back(session);
        }
    }

    PhoneSession DayUse(int64_t start)
    {
        PhoneSession session;
        session.pickupMs = start;
        session.screenOnMs = start + 2 * kMsPerSecond;
        const bool glance = random_.Chance(kGlanceChance);
        if (!glance) {
            session.unlockMs = session.screenOnMs + 3 * kMsPerSecond;
        }
        const double useMin = glance ? random_.Uniform(0.1, 0.5) : std::clamp(random_.Exponential(6), 0.5, 40.0);
        session.screenOffMs = session.screenOnMs + Minutes(useMin);
        return session;
    }

    PhoneSession Call(int64_t ring, double answerChance)
    {
        PhoneSession session;
        session.isCall = true;
        session.screenOnMs = ring;
        if (random_.Chance(answerChance)) {
            session.answerMs = ring + 15 * kMsPerSecond;
            session.pickupMs = session.answerMs;
            session.screenOffMs = session.answerMs + Minutes(std::clamp(random_.Exponential(3), 0.3, 30.0));
        } else {
            session.screenOffMs = ring + 30 * kMsPerSecond;
        }
        return session;
    }

    PhoneSession DayCall(int64_t ring) { return Call(ring, kAnswerChance); }

    const ScheduledNight* ScheduledNightEnding(const CivilDate& wakeDate) const
    {
        const auto found = recorded_.find(FormatCivilDate(wakeDate));
        return found == recorded_.end() ? nullptr : found->second;
    }

    InBed DrawInBed()
    {
        InBed inBed;
        inBed.useMin = std::max(1.0, habits_.phoneInBedMin + Spread(habits_.phoneInBedSpreadMin));
        inBed.latencyMin =
            std::clamp(random_.Exponential(habits_.sleepLatencyMin), 1.0, 4 * habits_.sleepLatencyMin + 1);
        return inBed;
    }

    // Days from the evening a night is begun on to the day its usual wake time falls on.
    static int32_t WakeDayOffset(const NightHabits& night)
    {
        return static_cast<int32_t>(std::floor((night.EveningBedtimeMin() + night.SpanMin()) / kMinutesPerDay));
    }

    // The day a weekday night begun on `evening` usually ends on: it decides weekend or weekday.
    CivilDate UsualWakeDate(const CivilDate& evening) const { return AddDays(evening, WakeDayOffset(habits_.weekday)); }

    // The natural wake-up after a night begun on `evening`: the first wake time after the bedtime.
    int64_t HabitWake(const NightHabits& night, const CivilDate& evening)
    {
        return LocalTimeMs(AddDays(evening, WakeDayOffset(night)), night.wakeMin + Spread(night.wakeSpreadMin));
    }

    // A recorded night and the day before it. Between 00:00 and the onset the phone is used only for
    // the recorded unlocks, so the day ends at midnight, or at the first of them if earlier.
    // Returns the end of the morning use of the phone.
    int64_t PlanRecordedNight(const ScheduledNight& scheduled, NightStart start, const CivilDate& evening)
    {
        const int64_t onset = LocalTimeMs(evening, scheduled.onsetMin);
        const int64_t wake = LocalTimeMs(AddDays(evening, 1), scheduled.wakeMin);
        const RecordedNight recorded = RecordedNightOf(scheduled, wake);
        start.bedMs =
            std::max(onset - Minutes(start.inBed.useMin + start.inBed.latencyMin), start.freeFromMs + kMsPerMinute);
        int64_t dayEnd = std::min(start.bedMs, recorded.midnightMs);
        if (!recorded.unlocksMs.empty()) {
            dayEnd = std::min(dayEnd, recorded.unlocksMs.front() - kUnlockDelayMs - kSessionGapMs);
        }
        PlanDay(start.freeFromMs, std::max(dayEnd, start.freeFromMs), evening);
        return PlanNight(start, wake, &recorded);
    }

    // Returns the end of the morning use of the phone, where the next day starts.
    int64_t PlanNight(const NightStart& start, int64_t wake, const RecordedNight* recorded)
    {
        NightTruth truth;
        truth.weekend = start.weekend;
        truth.bedMs = start.bedMs;
        truth.phoneDownMs = start.bedMs + Minutes(start.inBed.useMin);
        truth.onsetMs = truth.phoneDownMs + Minutes(start.inBed.latencyMin);

        if (recorded == nullptr && !start.weekend && habits_.alarmOnWeekdays) {
            const int64_t alarm = LocalTimeMs(LocalDateOf(wake), habits_.alarmMin);
            if (alarm > truth.onsetMs + kMinSleepMs) {
                truth.alarmMs = alarm;
                plan_.alarms.push_back(alarm);
                wake = std::min(wake, alarm + Minutes(random_.Uniform(0, 3)));
            }
        }
        truth.wakeMs = std::max(wake, truth.onsetMs + kMinSleepMs);
        truth.wakeDate = recorded != nullptr ? recorded->wakeDate : LocalDateOf(truth.wakeMs);

        if (habits_.charging == ChargingHabit::NIGHT) {
            plan_.charges.push_back(TimeSpan{start.bedMs - kMsPerMinute, 0}); // ends after the morning use
        }
        PlanBedtime(start, truth, recorded);
        PlanAwakenings(truth, recorded);
        AddNotices(truth.phoneDownMs, truth.wakeMs, habits_.nightNotificationsPerHour);
        const int64_t morningEnd = PlanMorning(truth);
        if (habits_.charging == ChargingHabit::NIGHT) {
            plan_.charges.back().endMs = morningEnd;
        }
        plan_.nights.push_back(truth);
        return morningEnd;
    }

    // One awake period, with the phone session it holds (if the person reached for the phone).
    struct Awakening {
        TimeSpan span;
        bool withPhone = false;
        PhoneSession session;
    };

    // Awakenings and a possible night call, with the sessions of those that reach for the phone.
    void PlanAwakenings(NightTruth& truth, const RecordedNight* recorded)
    {
        const int64_t earliest = truth.onsetMs + kAwakeningMarginMs;
        const int64_t latest = truth.wakeMs - kAwakeningMarginMs;
        std::vector<Awakening> awakenings;
        const int32_t count = random_.Poisson(habits_.awakeningsPerNight);
        for (int32_t i = 0; i < count && latest > earliest; ++i) {
            Awakening awakening;
            awakening.span.beginMs = random_.UniformInt(earliest, latest);
            awakening.span.endMs = awakening.span.beginMs + Minutes(random_.Uniform(2, 12));
            if (random_.Chance(habits_.awakeningPhoneChance)) {
                awakening.withPhone = true;
                awakening.session = LookAtPhone(awakening.span.beginMs);
                awakening.span.endMs = std::max(awakening.span.endMs, awakening.session.screenOffMs + 2 * kMsPerMinute);
            }
            awakenings.push_back(awakening);
        }
        if (latest > earliest && random_.Chance(habits_.nightCallChance)) {
            Awakening call;
            call.withPhone = true;
            call.session = Call(random_.UniformInt(earliest, latest), kNightAnswerChance);
            call.session.placeAfter = RestPlace::NIGHT_SPOT;
            call.span = TimeSpan{call.session.screenOnMs, call.session.screenOffMs + Minutes(random_.Uniform(3, 10))};
            awakenings.push_back(call);
        }
        if (recorded != nullptr) {
            AddRecordedAwakenings(*recorded, truth, awakenings);
        }
        KeepDisjoint(awakenings, truth);
    }

    // The uses of the phone from going to bed to falling asleep, in time order, and when it is put down.
    // On a recorded night the recorded unlocks before the onset join the use in bed, at the desk before
    // the bed time; one that overlaps another use is part of it, one that would last into the sleep is
    // cut short. Going to bed after midnight, the phone is only carried to bed, as the recorded
    // unlocks are all there are.
    void PlanBedtime(const NightStart& start, NightTruth& truth, const RecordedNight* recorded)
    {
        PhoneSession inBed;
        inBed.pickupMs = start.bedMs;
        inBed.screenOnMs = start.bedMs + 2 * kMsPerSecond;
        inBed.unlockMs = start.bedMs + kUnlockDelayMs;
        inBed.screenOffMs = truth.phoneDownMs;
        inBed.placeAfter = RestPlace::NIGHT_SPOT;
        std::vector<PhoneSession> uses;
        if (recorded != nullptr) {
            if (start.bedMs >= recorded->midnightMs) {
                inBed.unlockMs = -1;
                inBed.screenOffMs = inBed.screenOnMs + kCarryToBedMs;
            }
            uses = RecordedUsesBeforeOnset(*recorded, start.bedMs, truth.onsetMs);
            uses.erase(std::remove_if(uses.begin(), uses.end(),
                           [&inBed](const PhoneSession& use) { return AreClose(use, inBed); }),
                uses.end());
        }
        uses.insert(std::upper_bound(uses.begin(), uses.end(), inBed,
                        [](const PhoneSession& a, const PhoneSession& b) { return a.pickupMs < b.pickupMs; }),
            inBed);
        int64_t lastEnd = start.freeFromMs - kSessionGapMs;
        for (const PhoneSession& use : uses) {
            if (use.pickupMs >= lastEnd + kSessionGapMs) {
                plan_.sessions.push_back(use);
                lastEnd = use.screenOffMs;
            }
        }
        truth.phoneDownMs = lastEnd;
    }

    static bool AreClose(const PhoneSession& a, const PhoneSession& b)
    {
        return a.pickupMs < b.screenOffMs + kSessionGapMs && b.pickupMs < a.screenOffMs + kSessionGapMs;
    }

    static std::vector<PhoneSession> RecordedUsesBeforeOnset(
        const RecordedNight& recorded, int64_t bedMs, int64_t onsetMs)
    {
        std::vector<PhoneSession> uses;
        for (const int64_t unlock : recorded.unlocksMs) {
            PhoneSession use =
                RecordedUnlock(unlock, recorded.useMs, unlock >= bedMs ? RestPlace::NIGHT_SPOT : RestPlace::DESK);
            use.screenOffMs = std::min(use.screenOffMs, onsetMs - kAsleepAfterPhoneDownMs);
            if (use.screenOffMs <= use.unlockMs) {
                break;
            }
            uses.push_back(use);
        }
        return uses;
    }

    // The recorded unlocks inside the sleep wake the person, for the recorded awake minutes in all: as
    // many unlocks as those minutes hold (picked evenly), each awake for an equal share of them. With
    // no unlock to hold them, the awake minutes are one awakening without the phone mid-sleep. Without
    // recorded awake minutes each unlock wakes the person just for its own use.
    void AddRecordedAwakenings(
        const RecordedNight& recorded, const NightTruth& truth, std::vector<Awakening>& awakenings)
    {
        std::vector<int64_t> inSleep;
        std::copy_if(recorded.unlocksMs.begin(), recorded.unlocksMs.end(), std::back_inserter(inSleep),
            [&truth](int64_t unlock) { return unlock >= truth.onsetMs; });
        const int64_t leastAwakeMs = kAwakeBeforePickupMs + kUnlockDelayMs + recorded.useMs + kAwakeAfterScreenOffMs;
        const bool awakeKnown = recorded.awakeMin >= 0;
        const int64_t awakeMs = awakeKnown ? Minutes(recorded.awakeMin) : 0;
        const size_t count = awakeKnown ? UnlocksHeld(inSleep.size(), awakeMs, leastAwakeMs) : inSleep.size();
        if (count == 0) {
            if (awakeMs > 0) {
                const int64_t begin = truth.onsetMs + (truth.wakeMs - truth.onsetMs - awakeMs) / 2;
                awakenings.push_back(Awakening{TimeSpan{begin, begin + awakeMs}, false, PhoneSession{}});
            }
            return;
        }
        const int64_t eachMs = std::max(leastAwakeMs, awakeMs / static_cast<int64_t>(count));
        for (size_t i = 0; i < count; ++i) {
            Awakening awakening;
            awakening.withPhone = true;
            awakening.session =
                RecordedUnlock(inSleep[i * inSleep.size() / count], recorded.useMs, RestPlace::NIGHT_SPOT);
            awakening.span.beginMs = awakening.session.pickupMs - kAwakeBeforePickupMs;
            awakening.span.endMs = awakening.span.beginMs + eachMs;
            awakenings.push_back(awakening);
        }
    }

    // How many of `available` unlocks, each needing at least `leastAwakeMs`, the awake time holds:
    // the nearest whole number.
    static size_t UnlocksHeld(size_t available, int64_t awakeMs, int64_t leastAwakeMs)
    {
        const auto held = static_cast<size_t>(std::llround(static_cast<double>(awakeMs) / leastAwakeMs));
        return std::min(available, held);
    }

    PhoneSession LookAtPhone(int64_t awakeMs)
    {
        PhoneSession look;
        look.pickupMs = awakeMs + 20 * kMsPerSecond;
        look.screenOnMs = look.pickupMs + 2 * kMsPerSecond;
        if (random_.Chance(habits_.awakeningUnlockChance)) {
            look.unlockMs = look.screenOnMs + 3 * kMsPerSecond;
            look.screenOffMs = look.unlockMs + Minutes(random_.Uniform(1, 6));
        } else {
            look.screenOffMs = look.screenOnMs + Minutes(random_.Uniform(0.1, 0.4));
        }
        look.placeAfter = RestPlace::NIGHT_SPOT;
        return look;
    }

    // Keeps the awakenings that start after the previous kept one ended (with their sessions).
    void KeepDisjoint(std::vector<Awakening>& awakenings, NightTruth& truth)
    {
        std::stable_sort(awakenings.begin(), awakenings.end(),
            [](const Awakening& a, const Awakening& b) { return a.span.beginMs < b.span.beginMs; });
        int64_t lastEnd = truth.onsetMs;
        for (const Awakening& awakening : awakenings) {
            if (awakening.span.beginMs < lastEnd + 5 * kMsPerMinute || awakening.span.endMs >= truth.wakeMs) {
                continue;
            }
            truth.awakenings.push_back(awakening.span);
            lastEnd = awakening.span.endMs;
            if (awakening.withPhone) {
                plan_.sessions.push_back(awakening.session);
            }
        }
    }

    int64_t PlanMorning(const NightTruth& truth)
    {
        PhoneSession morningUse;
        morningUse.pickupMs = truth.wakeMs + Minutes(random_.Uniform(0.5, 3));
        morningUse.screenOnMs = (truth.alarmMs > 0 && truth.alarmMs <= morningUse.pickupMs)
                                    ? truth.alarmMs
                                    : morningUse.pickupMs + 2 * kMsPerSecond;
        morningUse.unlockMs = std::max(morningUse.pickupMs, morningUse.screenOnMs) + 3 * kMsPerSecond;
        morningUse.screenOffMs = morningUse.unlockMs + Minutes(random_.Uniform(3, 12));
        morningUse.placeAfter = RestPlace::DESK;
        plan_.sessions.push_back(morningUse);
        if (habits_.wakeNotificationChance > 0 && random_.Chance(habits_.wakeNotificationChance)) {
            AddWakeNotice(morningUse);
        }
        return morningUse.screenOffMs;
    }

    // A message that arrives just after the phone is unlocked on waking and is read during that use.
    void AddWakeNotice(const PhoneSession& morningUse)
    {
        const auto pick = static_cast<size_t>(random_.UniformInt(0, kPackages.size() - 1));
        const int64_t post = morningUse.unlockMs + Minutes(random_.Uniform(0.1, 0.7));
        const int64_t read = post + Minutes(random_.Uniform(0.3, 1.5));
        if (read < morningUse.screenOffMs) {
            plan_.notices.push_back(Notice{post, kPackages[pick], read});
        }
    }

    // Each notification not yet read is dealt with shortly after the next unlock that follows it.
    void AssignNoticeClearTimes()
    {
        std::stable_sort(plan_.notices.begin(), plan_.notices.end(),
            [](const Notice& a, const Notice& b) { return a.postMs < b.postMs; });
        size_t next = 0;
        for (Notice& notice : plan_.notices) {
            if (notice.clearMs >= 0) {
                continue;
            }
            while (next < plan_.sessions.size() &&
                   (plan_.sessions[next].unlockMs < 0 || plan_.sessions[next].unlockMs < notice.postMs)) {
                ++next;
            }
            if (next == plan_.sessions.size()) {
                break;
            }
            const PhoneSession& session = plan_.sessions[next];
            notice.clearMs =
                session.unlockMs + std::min<int64_t>(30 * kMsPerSecond, (session.screenOffMs - session.unlockMs) / 2);
        }
    }

    const Scenario& scenario_;
    const Habits& habits_;
    SimRandom random_;
    std::map<std::string, const ScheduledNight*> recorded_; // by ISO wake date
    PersonPlan plan_;
};

} // namespace

PersonPlan PlanPerson(const Scenario& scenario)
{
    return Planner(scenario).Run();
}

} // namespace OHOS::Sim
