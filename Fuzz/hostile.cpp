// A host with objects of its own that call back: from comparisons, getters, computations,
// questions whether to go on, error procedures and destructors. They remove computers, flush,
// drop last references, throw, and answer otherwise each time, as far as the headers allow it
// (Docs/Threads.md has the table). The input says what each of them does.
//
// Compiled twice: one host on one thread, whose destructors may call anything; and, as
// `hostile_threads`, four hosts on four threads, whose destructors may call nothing.

#include <array>
#include <barrier>
#include <exception>
#include <thread>
#include <utility>
#include <vector>

#include "DP/IGraphCutDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "DP/IInterruptibleWorkerItem.h"
#include "DP/IKLTDescriptor.h"
#include "DescriptorObjects.h"
#include "Fuzz/Frames.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "RegionTracker/HidesName.h"
#include "Support/Images.h"
#include "Support/Reports.h"

namespace {

class OwnProperty;
class OwnKey;
class OwnData;
class OwnItem;

#ifdef DP_HOSTILE_THREADS
constexpr int kThreads = DP_HOSTILE_THREADS;
#else
constexpr int kThreads = 1;
#endif
constexpr bool kIsAlone = kThreads == 1;

}  // namespace

template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<OwnProperty>{0x7e57, 21};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<OwnKey>{0x7e57, 22};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<OwnData>{0x7e57, 23};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<OwnItem>{0x7e57, 24};

namespace {

using namespace DP;

/// What a host throws from its own operations.
struct HostError : std::exception {};

/// From where a host's object is called, and what it may call there.
struct Place {
    bool mMayThrow = false;
    bool mMayUseManager = false;
    bool mMayUseCaches = false;
    bool mMayRequest = false;
    bool mMayFlush = false;

    // A callback inside a callback, as of an object that is dropped in a comparison. Whether
    // it may throw is its own affair.
    friend Place operator&(const Place& inOuter, const Place& inInner) {
        return {inInner.mMayThrow, inOuter.mMayUseManager && inInner.mMayUseManager,
                inOuter.mMayUseCaches && inInner.mMayUseCaches,
                inOuter.mMayRequest && inInner.mMayRequest,
                inOuter.mMayFlush && inInner.mMayFlush};
    }
};
constexpr Place kMain{true, true, true, true, kIsAlone};
constexpr Place kInComparison{true, false, false, false, false};
constexpr Place kInProperty{true, true, false, false, false};
constexpr Place kInComputation{true, true, true, kIsAlone, false};
constexpr Place kInQuestion{true, true, true, false, false};
constexpr Place kInDestructor{false, kIsAlone, kIsAlone, kIsAlone, kIsAlone};

/// One thread's host. Its objects find it by the thread that they are called on.
class Host {
public:
    explicit Host(Fuzz::Input inInput) : mInput(inInput) { tHost = this; }
    ~Host() {
        mActionsLeft = 0;  // what dies now says nothing
        tHost = nullptr;
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void Run() {
        while (mActionsLeft > 0 && !mInput.IsAtEnd())
            Act(kMain);
    }

    /// Whether a callback of the host's answers yes; before that it calls what it likes.
    static bool Called(const Place& inPlace) {
        return tHost == nullptr || tHost->Answer(inPlace);
    }

private:
    static constexpr int kSlots = 4;
    static constexpr int kMostNested = 3;
    template <class T>
    using Hand = std::array<T, kSlots>;

    bool Answer(const Place& inPlace) {
        if (mNested >= kMostNested || mActionsLeft <= 0 || mInput.IsAtEnd()) return true;
        const int answer = mInput.Byte();
        if (answer < 0x60) return answer % 2 == 0;
        const Place place = mPlace & inPlace;
        struct Leave {
            Host& mHost;
            Place mOuter;
            ~Leave() {
                mHost.mPlace = mOuter;
                --mHost.mNested;
            }
        } const leave{*this, std::exchange(mPlace, place)};
        ++mNested;
        for (int i = answer % 3; i >= 0; --i)
            Act(place);
        if (inPlace.mMayThrow && answer >= 0xf0) throw HostError();
        return answer % 2 == 0;
    }

    void Act(const Place& inPlace) {
        if (--mActionsLeft < 0) return;
        struct Action {
            void (Host::*mRun)();
            bool Place::*mRight;  // null: always allowed
        };
        static constexpr Action kActions[] = {
            {&Host::MakeProperty, nullptr},
            {&Host::MakeKey, nullptr},
            {&Host::MakeData, nullptr},
            {&Host::MakeItem, nullptr},
            {&Host::Drop, nullptr},
            {&Host::FindComputer, &Place::mMayUseManager},
            {&Host::FindComputer, &Place::mMayUseManager},
            {&Host::FindComputer, &Place::mMayUseManager},
            {&Host::RemoveComputers, &Place::mMayUseManager},
            {&Host::Store, &Place::mMayUseCaches},
            {&Host::Store, &Place::mMayUseCaches},
            {&Host::LookUp, &Place::mMayUseCaches},
            {&Host::ClearCaches, &Place::mMayFlush},
            {&Host::Flush, &Place::mMayFlush},
            {&Host::Request, &Place::mMayRequest},
            {&Host::Request, &Place::mMayRequest},
        };
        const Action action = mInput.OneOf(kActions);
        if (action.mRight != nullptr && !(inPlace.*action.mRight)) return;
        try {
            Fuzz::ComesThrough([&] { (this->*action.mRun)(); });
        } catch (const HostError&) {
        }
    }

    // ---- Objects -----------------------------------------------------------------------

    template <class T>
    T& In(Hand<T>& ioHand) {
        return ioHand[static_cast<std::size_t>(mInput.Byte() % kSlots)];
    }
    // The old object dies behind the assignment: its destructor may come back here.
    template <class T>
    static void Put(T& ioSlot, T inNew) {
        const T old = std::exchange(ioSlot, std::move(inNew));
    }
    quillet::WideString Source() {
        return quillet::WideString(1, static_cast<char16_t>(u'a' + mInput.Byte() % 3));
    }
    // A tracker and the cut take one thread at a time: several hosts leave them alone.
    DescriptorDataType Kind() {
        constexpr DescriptorDataType kKinds[] = {
            kDescriptorDataTypeGreyImage, kDescriptorDataTypeGreyImage, kDescriptorDataTypeKLT,
            kDescriptorDataTypeGraphCut};
        const DescriptorDataType kind = mInput.OneOf(kKinds);
        return kIsAlone ? kind : kDescriptorDataTypeGreyImage;
    }
    void MakeProperty();
    void MakeKey();
    void MakeData();
    void MakeItem();
    void SetInputs(const Ref<IDescriptorWorkerItem>& inItem);
    void Drop() {
        switch (mInput.Byte() % 5) {
            case 0:
                return Put(In(mProperties), Ref<IDescriptorProperty>());
            case 1:
                return Put(In(mKeys), Ref<IDescriptorDataKey>());
            case 2:
                return Put(In(mData), Ref<IDescriptorData>());
            case 3:
                return Put(In(mItems), Ref<IDescriptorWorkerItem>());
            default:
                return Put(In(mComputers), Ref<IDescriptorComputer>());
        }
    }

    // ---- Calls; each holds what it hands over ------------------------------------------

    void FindComputer() {
        const Ref<IDescriptorProperty> property = In(mProperties);
        Put(In(mComputers), CreateDescriptorComputer(property));
    }
    void RemoveComputers() {
        const auto manager = CreateDescriptorComputerMgr();
        if (mInput.Flag())
            manager->RemoveDescriptorComputers(Source());
        else
            manager->RemoveAllDescriptorComputers();
    }
    Ref<IDescriptorDataCache> Cache() {
        return CreateDescriptorDataCacheMgr()->GetDescriptorDataCache(Kind());
    }
    void Store() {
        const auto cache = Cache();
        const Ref<IDescriptorDataKey> key = In(mKeys);
        const Ref<IDescriptorData> data = In(mData);
        if (key == NULL || data == NULL) return;  // `cache` is the target for those
        cache->StoreData(key, data);
    }
    void LookUp() {
        const auto cache = Cache();
        const Ref<IDescriptorDataKey> key = In(mKeys);
        if (key == NULL) return;
        Ref<IDescriptorData> data = In(mData);
        RecursiveMutexPtr mutex;
        cache->GetCachedData(key, data, mutex);
        cache->GetTotalDataSize();
    }
    void ClearCaches() {
        if (mInput.Flag())
            CreateDescriptorDataCacheMgr()->ClearAllCaches();
        else
            Cache()->ClearCache();
    }
    void Flush() { FlushAllDescriptorResources(); }
    // The cut has one graph in the process: none begins inside another.
    void Request() {
        const Ref<IDescriptorComputer> computer = In(mComputers);
        const Ref<IDescriptorWorkerItem> item = In(mItems);
        if (computer == NULL || item == NULL || item->GetDataKey() == NULL || mIsCutting)
            return;
        const bool isEngine = Ref<IInterruptibleWorkerItem>(item) != NULL;
        struct Leave {
            bool& mFlag;
            bool mBefore;
            ~Leave() { mFlag = mBefore; }
        } const leave{mIsCutting, std::exchange(mIsCutting, isEngine)};
        Put(In(mData), computer->GetDescriptorData(item, mInput.Flag()));
    }
    static bool GoesOn(void*, double) { return Called(kInQuestion); }

    static inline thread_local Host* tHost = nullptr;

    Fuzz::Input mInput;
    int mActionsLeft = 300;
    int mNested = 0;
    Place mPlace = kMain;
    bool mIsCutting = false;
    const std::vector<unsigned char> mFrame = std::vector<unsigned char>(4 * 12 * 12 + 1, 77);
    Hand<Ref<IDescriptorProperty>> mProperties;
    Hand<Ref<IDescriptorDataKey>> mKeys;
    Hand<Ref<IDescriptorData>> mData;
    Hand<Ref<IDescriptorWorkerItem>> mItems;
    Hand<Ref<IDescriptorComputer>> mComputers;
};

// ---- The host's own classes ------------------------------------------------------------

// It does not answer to the plain name, as no host's class does.
class OwnProperty : public HidesName<OwnProperty, DescriptorProperty, DescriptorProperty> {
public:
    ~OwnProperty() override { Host::Called(kInDestructor); }
    bool IsEqual(Ref<IDescriptorProperty> inOther) override {
        return Host::Called(kInProperty) ? DescriptorProperty::IsEqual(inOther) : mAnswer;
    }
    quillet::WideString GetSourceID() override {
        return Host::Called(kInProperty) ? DescriptorProperty::GetSourceID()
                                         : quillet::WideString();
    }
    DescriptorDataType GetDescriptorDataType() override {
        Host::Called(kInProperty);
        return DescriptorProperty::GetDescriptorDataType();
    }
    bool mAnswer = false;
};

class OwnKey : public TVK::Object<OwnKey, DescriptorDataKey> {
public:
    ~OwnKey() override { Host::Called(kInDestructor); }
    bool IsLessThan(Ref<IDescriptorDataKey> inOther) override {
        return Host::Called(kInComparison) && DescriptorDataKey::IsLessThan(inOther);
    }
};

class OwnData : public TVK::Object<OwnData, DescriptorData> {
public:
    ~OwnData() override { Host::Called(kInDestructor); }
    unsigned int GetDataSize() override { return Host::Called(kInComparison) ? 1 : 1u << 30; }
    void SetTimeStamp(const unsigned int& inTime) override {
        Host::Called(kInComparison);
        DescriptorData::SetTimeStamp(inTime);
    }
};

class OwnItem : public TVK::Object<OwnItem, DescriptorWorkerItem> {
public:
    ~OwnItem() override { Host::Called(kInDestructor); }
    Ref<IDescriptorData> ComputeData() override {
        return Host::Called(kInComputation) ? OwnData::Create() : Ref<OwnData>();
    }
};

void Host::MakeProperty() {
    const DescriptorDataType kind = Kind();
    const auto source = Source();
    if (mInput.Flag()) {
        const auto own = MakeInitialised<OwnProperty>(source, kind);
        own->mAnswer = mInput.Flag();
        return Put(In(mProperties), Ref<IDescriptorProperty>(own));
    }
    Put(In(mProperties), kind == kDescriptorDataTypeKLT
                             ? CreateKLTDescriptorProperty(4, 1, 1, 4, source, kind)
                             : CreateDescriptorProperty(source, kind));
}

void Host::MakeKey() {
    const int frame = mInput.Byte() % 24;
    const auto source = Source();
    Put(In(mKeys), mInput.Flag()
                       ? Ref<IDescriptorDataKey>(MakeInitialised<OwnKey>(source, frame, 12, 12))
                       : CreateDescriptorDataKey(source, frame, 12, 12));
}

void Host::MakeData() { Put(In(mData), Ref<IDescriptorData>(OwnData::Create())); }

void Host::MakeItem() {
    const auto item = mInput.Flag() ? Ref<IDescriptorWorkerItem>(OwnItem::Create())
                                    : CreateDescriptorWorkerItem(Kind());
    const Ref<IDescriptorDataKey> key = In(mKeys);
    item->SetDataKey(key);
    SetInputs(item);
    if (const Ref<IInterruptibleWorkerItem> engine(item); engine != NULL)
        engine->SetProgressCallback(&Host::GoesOn, this);
    Put(In(mItems), Ref<IDescriptorWorkerItem>(item));
}

void Host::SetInputs(const Ref<IDescriptorWorkerItem>& inItem) {
    const auto bytes = Fuzz::ReadBytesImage(mInput, {12, 12});
    if (const Ref<IGreyImageDescriptorWorkerItem> grey(inItem); grey != NULL)
        grey->SetInputImage(mFrame.data(), 12, 12, 48);
    if (const Ref<IKLTDescriptorWorkerItem> klt(inItem); klt != NULL)
        klt->SetInputImages(bytes, bytes, {});
    if (const Ref<IGraphCutDescriptorWorkerItem> cut(inItem); cut != NULL)
        cut->SetInputs(mFrame.data(), 48, bytes, bytes,
                       mInput.Flag() ? bytes : IP::ImagePtr<unsigned char>());
}

// What a host does that was told of an error: calls back, throws or returns.
void ThrowOrReturn(quillet::config::ErrorLevel, const char*, unsigned long, long, bool,
                   const quillet::config::ReplacementValue&,
                   const quillet::config::ReplacementValue&,
                   const quillet::config::ReplacementValue&,
                   const quillet::config::ReplacementValue&) {
    if (!Host::Called(kInComparison)) throw HostError();
}

#if defined(__SANITIZE_THREAD__)
#define HAS_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define HAS_THREAD_SANITIZER 1
#endif
#endif

#if defined(HAS_THREAD_SANITIZER)
// A race ends the run behind its input, when the threads are gone. Ended where it is reported
// the process can hang: libFuzzer then writes the input while the sanitizer holds its locks.
volatile bool sHasRaced = false;

extern "C" __attribute__((no_sanitize_thread)) void __tsan_on_report(void*) {
    sHasRaced = true;
}
__attribute__((no_sanitize_thread)) void RequireNoRace() {
    Fuzz::Require(!sHasRaced, "no race");
}
#else
void RequireNoRace() {}
#endif

void Run(const std::uint8_t* inData, std::size_t inSize) {
    if (kIsAlone) return Host(Fuzz::Input(inData, inSize)).Run();
    const std::size_t part = inSize / kThreads;
    std::barrier start(kThreads);
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&, data = inData + part * std::size_t(i)] {
            Host host(Fuzz::Input(data, part));
            start.arrive_and_wait();
            host.Run();
        });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    const Testing::RecordedReports reports;
    quillet::config::SetThrowError(&ThrowOrReturn);
    Run(inData, inSize);
    quillet::config::SetThrowError(nullptr);
    FlushAllDescriptorResources();
    RequireNoRace();
    return 0;
}
