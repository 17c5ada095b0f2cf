// OpenCVImages: frames and images between cv::Mat and the library.
//
//     cv::Mat, 8-bit BGRA     -> worker item      shared until the request has returned
//     cv::Mat, 8-bit or float -> IP::Image        copied: an image owns its pixels alone
//     IP::Image               -> cv::Mat          shared, or `.clone()` for a copy
//
// Both sides keep the top row first.

#pragma once

#include <opencv2/core.hpp>
#include <stdexcept>

#include "DP/Ref.h"
#include "image/IPImage.h"

namespace Wrappers {

/// The image's pixels as a matrix, without a copy. The matrix does not keep them alive: the
/// image must live for as long as it is used. Images that the library returned are
/// read-only, and so is their matrix.
template <class T>
cv::Mat ShareAsMat(const IP::ImagePtr<T>& inImage) {
    return cv::Mat(inImage->GetRows(), inImage->GetColumns(), cv::DataType<T>::type,
                   inImage->GetData());
}

/// A new image with the matrix's pixels, whatever its stride. `T` is the matrix's own type,
/// `unsigned char` or `float`; floats should run from 0 to 255.
/// @throws std::invalid_argument for a matrix of another type, or with more channels.
template <class T>
IP::ImagePtr<T> CopyToImage(const cv::Mat& inMat) {
    if (inMat.type() != cv::DataType<T>::type)
        throw std::invalid_argument("the matrix has another type of pixel than the image");
    const auto image = TVK::MakeObject<IP::Image<T>>(inMat.cols, inMat.rows);
    cv::Mat shared = ShareAsMat(image);
    inMat.copyTo(shared);
    return image;
}

/// Gives an 8-bit BGRA matrix, of any stride, to an item that takes frames: `Item` is the
/// worker item of the grey or the float grey kind. The matrix is shared and must stay as it
/// is until the request has returned.
/// @throws std::invalid_argument for a matrix of another type.
template <class Item>
void ShareFrame(const DP::Ref<Item>& ioItem, const cv::Mat& inFrame) {
    if (inFrame.type() != CV_8UC4) throw std::invalid_argument("the frame is not 8-bit BGRA");
    ioItem->SetInputImage(inFrame.data, inFrame.rows, inFrame.cols,
                          static_cast<int>(inFrame.step));
}

}  // namespace Wrappers
