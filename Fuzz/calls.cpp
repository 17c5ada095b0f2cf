// Sequences of calls through the exported functions, as a host could make them: null and
// foreign references, odd numbers, items of one kind in the computer of another. What the
// headers make the caller's duty is kept: a buffer is as large as the call says, and the
// images of a tracker have one size.

#include <array>
#include <iterator>
#include <memory>

#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGraphCutDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "DP/IKLTDescriptor.h"
#include "DP/Tracker.h"
#include "Fuzz/Frames.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "Support/Images.h"
#include "Support/Reports.h"

namespace {

using namespace DP;
using Fuzz::Input;

constexpr int kSlots = 4;

// The graph that is kept of a frame is that of the process: each input starts with that of a
// frame of one pixel. Only where the input before asked for a cut, since it takes time.
bool sHasForeignFrame = true;

void ForgetFrame() {
    if (!sHasForeignFrame) return;
    sHasForeignFrame = false;
    const unsigned char frame[5] = {};
    const auto dot = Testing::ImageOf<unsigned char>(1, 1, {0});
    const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeGraphCut);
    item->SetDataKey(CreateDescriptorDataKey({}, 0, 1, 1));
    Ref<IGraphCutDescriptorWorkerItem>(item)->SetInputs(frame, 4, dot, dot, {});
    CreateDescriptorComputer(CreateDescriptorProperty({}, kDescriptorDataTypeGraphCut))
        ->GetDescriptorData(item, false);
    FlushAllDescriptorResources();
}

// What a host has in hand. All slots start null, and stay so if the input says so.
template <class T>
using Hand = std::array<T, kSlots>;

class Host {
public:
    explicit Host(Input& ioInput)
        : mInput(ioInput),
          mSize(Fuzz::ReadSize(ioInput, 40)),
          mTracker(Tracker::CreateTracker(static_cast<unsigned int>(mSize.mCols),
                                          static_cast<unsigned int>(mSize.mRows))) {}

    void Call() {
        using Operation = void (Host::*)();
        static constexpr Operation kOperations[] = {
            &Host::MakeProperty, &Host::MakeKey,      &Host::MakeItem,   &Host::MakeData,
            &Host::MakeImages,   &Host::MakeComputer, &Host::SetInputs,  &Host::SetInputs,
            &Host::Compute,      &Host::AskForGrey,   &Host::UseCaches,  &Host::UseComputers,
            &Host::Track,        &Host::LookAtKey,    &Host::LookAtData, &Host::Flush};
        const Operation operation = mInput.OneOf(kOperations);
        Fuzz::ComesThrough([&] { (this->*operation)(); });
    }

private:
    template <class T>
    T& In(Hand<T>& ioHand) {
        return ioHand[static_cast<std::size_t>(mInput.Byte() % kSlots)];
    }
    DescriptorDataType Kind() {
        const int kind = mInput.Byte();
        return static_cast<DescriptorDataType>(kind < 0xf8 ? kind % kDescriptorDataTypeCount
                                                           : mInput.Whole<int>());
    }
    quillet::WideString Name() {
        return quillet::WideString(static_cast<std::size_t>(mInput.Byte() % 3 * 9), u's');
    }
    // Lists are as long as this: a host's memory is its own affair.
    unsigned int MaxFeatures() { return static_cast<unsigned int>(mInput.Between(0, 12)); }
    RegionPtr Region() {
        if (mInput.Byte() >= 0xf8) return {};
        return TVK::MakeObject<TVK::ParamRect<float>>(TVK::ParamRect<float>{
            mInput.Float(), mInput.Float(), mInput.Float(), mInput.Float()});
    }

    // ---- Making ------------------------------------------------------------------------

    // What an input says is read in an order that every compiler keeps: not among arguments.
    void MakeProperty() {
        const DescriptorDataType kind = Kind();
        const unsigned int most = MaxFeatures(), distance = mInput.Whole<unsigned>(),
                           least = mInput.Whole<unsigned>(), check = mInput.Whole<unsigned>();
        const int tag = mInput.Whole<int>();
        const float limit = mInput.Float();
        const quillet::WideString name = Name();
        Ref<IDescriptorProperty>& property = In(mProperties);
        switch (mInput.Byte() < 0xf0 ? int{kind} : mInput.Byte() % kDescriptorDataTypeCount) {
            case kDescriptorDataTypeKLT:
                property = CreateKLTDescriptorProperty(most, tag, distance, least, name, kind);
                break;
            case kDescriptorDataTypeAPT:
                property = CreateAPTDescriptorProperty(most, tag, distance, least, name, kind,
                                                       limit, check);
                break;
            case kDescriptorDataTypeRegionTracker:
                property = CreateRegionTrackerDescriptorProperty(most, tag, distance, least,
                                                                 name, Region(), tag, kind);
                break;
            default:
                property = CreateDescriptorProperty(name, kind);
        }
    }

    void MakeKey() {
        const auto frame = mInput.Whole<long long>();
        const unsigned int most = MaxFeatures(), distance = mInput.Whole<unsigned>(),
                           least = mInput.Whole<unsigned>();
        const int tag = mInput.Whole<int>();
        const float limit = mInput.Float();
        const int rows = mInput.Flag() ? mSize.mRows : mInput.Whole<int>();
        const int cols = mInput.Flag() ? mSize.mCols : mInput.Whole<int>();
        const quillet::WideString name = Name();
        Ref<IDescriptorDataKey>& key = In(mKeys);
        switch (mInput.Byte() % 4) {
            case 0:
                key = CreateDescriptorDataKey(name, frame, rows, cols);
                break;
            case 1:
                key = CreateKLTDescriptorDataKey(name, frame, tag, most, rows, cols, distance,
                                                 least);
                break;
            case 2:
                key = CreateAPTDescriptorDataKey(name, frame, tag, most, rows, cols, distance,
                                                 least, limit, 1);
                break;
            default:
                key = CreateRegionTrackerDescriptorDataKey(name, frame, tag, most, rows, cols,
                                                           Region(), tag, distance, least);
        }
    }

    void MakeItem() { In(mItems) = CreateDescriptorWorkerItem(Kind()); }

    void MakeData() {
        if (mInput.Flag())
            In(mData) = CreateRegionDescriptorData(Region());
        else
            In(mData) = CreateDescriptorData(Kind());
    }

    void MakeImages() {
        IP::ImagePtr<unsigned char>& bytes = In(mBytes);
        IP::ImagePtr<float>& floats = In(mFloats);
        bytes = {};
        floats = {};
        const int kind = mInput.Byte();
        if (kind == 0xff) return;
        if (kind >= 0xfc) {
            bytes = TVK::MakeObject<IP::Image<unsigned char>>(kind - 0xfe, 3);
            floats = TVK::MakeObject<IP::Image<float>>();
            return;
        }
        bytes = Fuzz::ReadBytesImage(mInput, mSize);
        floats = Fuzz::ReadFloatImage(mInput, mSize);
    }

    void MakeComputer() { In(mComputers) = CreateDescriptorComputer(In(mProperties)); }

    // ---- Requests ----------------------------------------------------------------------

    // Returns whether the frame is of use.
    template <class Item>
    bool SetFrame(const Ref<Item>& inItem) {
        if (inItem == NULL) return false;
        const bool isNull = mInput.Byte() >= 0xf8;
        const int rowBytes = mInput.Between(-4, 4 * mSize.mCols);
        const int rows = mInput.Between(-1, mSize.mRows);
        const int cols = mInput.Between(-1, mSize.mCols);
        inItem->SetInputImage(isNull ? nullptr : mFrame.data(), rows, cols, rowBytes);
        return !isNull && rows > 0 && cols > 0 && rowBytes >= 4 * cols;
    }

    // What an item may be given: the pixels, and what three bytes of the input choose.
    struct Choice {
        int mFirst, mSecond, mThird;
        const Ref<IDescriptorData>& mData;
    };
    IP::ImagePtr<unsigned char> Bytes(int inSlot) {
        return mBytes[std::size_t(inSlot % kSlots)];
    }
    IP::ImagePtr<float> Floats(int inSlot) { return mFloats[std::size_t(inSlot % kSlots)]; }
    unsigned int Cols() const { return static_cast<unsigned int>(mSize.mCols); }
    unsigned int Rows() const { return static_cast<unsigned int>(mSize.mRows); }

    void SetKLT(const Ref<IDescriptorWorkerItem>& inItem, const Choice& inChoice) {
        if (const Ref<IKLTDescriptorWorkerItem> klt(inItem); klt != NULL)
            klt->SetInputImages(Bytes(inChoice.mFirst), Bytes(inChoice.mSecond),
                                inChoice.mData);
    }
    void SetAPT(const Ref<IDescriptorWorkerItem>& inItem, const Choice& inChoice) {
        if (const Ref<IAPTDescriptorWorkerItem> apt(inItem); apt != NULL)
            apt->SetInputs(Floats(inChoice.mFirst), Floats(inChoice.mSecond), inChoice.mData,
                           Cols(), Rows());
    }
    void SetRegion(const Ref<IDescriptorWorkerItem>& inItem, const Choice& inChoice) {
        if (const Ref<IRegionTrackerDescriptorWorkerItem> region(inItem); region != NULL)
            region->SetInputs(Floats(inChoice.mFirst), Floats(inChoice.mSecond), inChoice.mData,
                              Cols(), Rows());
    }
    void SetGraphCut(const Ref<IDescriptorWorkerItem>& inItem, const Choice& inChoice) {
        if (const Ref<IGraphCutDescriptorWorkerItem> cut(inItem); cut != NULL) {
            sHasForeignFrame = true;
            cut->SetInputs(mFrame.data(), 4 * Cols(), Bytes(inChoice.mFirst),
                           Bytes(inChoice.mSecond), Bytes(inChoice.mThird));
        }
    }
    void SetGrey(const Ref<IDescriptorWorkerItem>& inItem, const Choice&) {
        SetFrame(Ref<IGreyImageDescriptorWorkerItem>(inItem));
    }
    void SetFloatGrey(const Ref<IDescriptorWorkerItem>& inItem, const Choice&) {
        SetFrame(Ref<IFloatGreyImageDescriptorWorkerItem>(inItem));
    }
    // The pyramids' items have no interface of their own.
    void SetNothing(const Ref<IDescriptorWorkerItem>&, const Choice&) {}

    void SetInputs() {
        const Ref<IDescriptorWorkerItem>& item = In(mItems);
        if (item == NULL) return;
        item->SetDataKey(In(mKeys));
        const Ref<IDescriptorData>& data = In(mData);
        const int first = mInput.Byte(), second = mInput.Byte(), third = mInput.Byte();

        // In the order of the kinds; each looks whether the item is one of its own.
        using Setter = void (Host::*)(const Ref<IDescriptorWorkerItem>&, const Choice&);
        static constexpr Setter kSetters[] = {
            &Host::SetKLT,      &Host::SetAPT,     &Host::SetGrey,    &Host::SetFloatGrey,
            &Host::SetGraphCut, &Host::SetNothing, &Host::SetNothing, &Host::SetRegion};
        static_assert(std::size(kSetters) == kDescriptorDataTypeCount);
        for (const Setter setter : kSetters)
            (this->*setter)(item, {first, second, third, data});
    }

    void Compute() {
        const Ref<IDescriptorComputer>& computer = In(mComputers);
        const Ref<IDescriptorWorkerItem>& item = In(mItems);
        In(mData) = computer->GetDescriptorData(item, mInput.Flag());
    }

    // All of a request fits but for the frame: by chance five hands seldom do. No other request
    // has its name, and so it is computed.
    void AskForGrey() {
        const bool isFloat = mInput.Flag();
        const auto kind =
            isFloat ? kDescriptorDataTypeFloatGreyImage : kDescriptorDataTypeGreyImage;
        const auto item = CreateDescriptorWorkerItem(kind);
        item->SetDataKey(CreateDescriptorDataKey(u"grey", 0, mSize.mRows, mSize.mCols));
        const bool isOfUse = isFloat ? SetFrame(Ref<IFloatGreyImageDescriptorWorkerItem>(item))
                                     : SetFrame(Ref<IGreyImageDescriptorWorkerItem>(item));
        const auto data = CreateDescriptorComputer(CreateDescriptorProperty({}, kind))
                              ->GetDescriptorData(item, false);
        Fuzz::Require(data == NULL || isOfUse, "a null result for a frame of no use");
    }

    void UseCaches() {
        const Ref<IDescriptorDataCacheMgr> caches = CreateDescriptorDataCacheMgr();
        const Ref<IDescriptorDataCache> cache = caches->GetDescriptorDataCache(Kind());
        const int operation = mInput.Byte();
        RecursiveMutexPtr mutex;
        if (operation % 8 == 0) cache->ClearCache();
        const Ref<IDescriptorDataKey>& key = In(mKeys);
        Ref<IDescriptorData>& data = In(mData);
        if (operation % 8 == 1) cache->StoreData(key, data);
        if (operation % 8 == 2) cache->GetCachedData(key, data, mutex);
        if (operation % 8 == 3) caches->ClearAllCaches();
        caches->GetTotalDataSize();
    }

    void UseComputers() {
        const Ref<IDescriptorComputerMgr> computers = CreateDescriptorComputerMgr();
        const int operation = mInput.Byte();
        if (operation % 8 == 0) computers->RemoveAllDescriptorComputers();
        if (operation % 8 == 1) computers->RemoveDescriptorComputers(Name());
        const Ref<IDescriptorComputer>& computer = In(mComputers);
        computer->GetSourceID();
        const auto property = computer->GetDescriptorProperty();
        Fuzz::Require(property->GetDescriptorDataType() == computer->GetDescriptorDataType(),
                      "the kind of the property");
        property->IsEqual(In(mProperties));
    }

    void Track() {
        const IP::ImagePtr<float>& image = In(mFloats);
        const auto frame = mInput.Whole<unsigned int>();
        mFeatures = {};  // a call that throws may leave a shorter one behind
        mTracker->TrackFeatures(image, frame, mFeatures);
        if (mFeatures == NULL) return;  // refused, by a report that returned
        Fuzz::Require(mFeatures->size() == mTracker->GetMaxFeatures(), "a slot for each point");
        Fuzz::Require(mTracker->GetMinFeatures() == 450, "450 on any tracker");
    }

    // ---- Looking -----------------------------------------------------------------------

    void LookAtKey() {
        const Ref<IDescriptorDataKey>& key = In(mKeys);
        key->GetHash();
        key->IsLessThan(In(mKeys));
    }

    void LookAtData() {
        const Ref<IDescriptorData>& data = In(mData);
        const unsigned int size = data->GetDataSize();
        const Ref<IDescriptorData> clone = data->CloneData();
        if (clone != NULL) Fuzz::Require(clone->GetDataSize() == size, "a deep copy");
        // A grey image or labels become an input, as a host hands them on.
        if (const Ref<IGraphCutDescriptorData> cut(data); cut != NULL)
            In(mBytes) = SizedAsOthers(cut->GetLabelImage());
        if (const Ref<IGreyImageDescriptorData> grey(data); grey != NULL)
            In(mBytes) = SizedAsOthers(grey->GetGreyImageData());
    }

    IP::ImagePtr<unsigned char> SizedAsOthers(const IP::ImagePtr<unsigned char>& inImage) {
        if (inImage == NULL || inImage->GetColumns() != mSize.mCols ||
            inImage->GetRows() != mSize.mRows)
            return {};
        return inImage;
    }

    void Flush() { FlushAllDescriptorResources(); }

    Input& mInput;
    const Fuzz::Size mSize;
    const std::unique_ptr<Tracker> mTracker;
    APTFeatureListPtr mFeatures;
    std::vector<unsigned char> mFrame = std::vector<unsigned char>(4 * 40 * 40 + 1, 77);
    Hand<Ref<IDescriptorProperty>> mProperties;
    Hand<Ref<IDescriptorDataKey>> mKeys;
    Hand<Ref<IDescriptorWorkerItem>> mItems;
    Hand<Ref<IDescriptorComputer>> mComputers;
    Hand<Ref<IDescriptorData>> mData;
    Hand<IP::ImagePtr<unsigned char>> mBytes;
    Hand<IP::ImagePtr<float>> mFloats;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    const Testing::RecordedReports reports;
    ForgetFrame();
    Input input(inData, inSize);
    {
        const Fuzz::ReturningErrors errors(input.Flag());
        Host host(input);
        for (int calls = 0; calls < 64 && !input.IsAtEnd(); ++calls)
            host.Call();
    }
    FlushAllDescriptorResources();
    return 0;
}
