// What a first program of a stranger does: a grey image of one frame, asked for twice.

#include <DP/DescriptorFactory.h>
#include <DP/IGreyImageDescriptor.h>

#include <cstdio>
#include <vector>

int main() {
    const std::vector<unsigned char> frame(8 * 4 * 4, 200);
    const auto source = quillet::utility::AsciiToUTF16("clip");
    const auto computer = DP::CreateDescriptorComputer(
        DP::CreateDescriptorProperty(source, DP::kDescriptorDataTypeGreyImage));

    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage);
    item->SetDataKey(DP::CreateDescriptorDataKey(source, 1, 4, 8));
    DP::Ref<DP::IGreyImageDescriptorWorkerItem>(item)->SetInputImage(frame.data(), 4, 8, 32);

    const DP::Ref<DP::IGreyImageDescriptorData> grey(computer->GetDescriptorData(item, true));
    const auto image = grey->GetGreyImageData();
    std::printf("%d x %d, first pixel %d\n", image->GetColumns(), image->GetRows(),
                image->GetData()[0]);
    bool caught = false;
    try {
        DP::CreateDescriptorComputer(nullptr);
    } catch (const std::exception& error) {
        caught = true;
    }
    DP::FlushAllDescriptorResources();
    return image->GetData()[0] == 200 && caught ? 0 : 1;
}
