#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/contest.h"

namespace kv_bench {
namespace {

/// A view of an image; nothing is copied.
template <class ImageType>
cv::Mat View(ImageType& image, int type) {
  return {static_cast<int>(image.GetHeight()), static_cast<int>(image.GetWidth()), type, Start(image),
          static_cast<std::size_t>(Stride(image))};
}

}  // namespace

void EnterOpenCv(Contest& contest) {
  cv::setNumThreads(1);
  const std::string name = "OpenCV";
  contest.Enter("Copy YUV422 to DIB24", name, [](Scene& scene) {
    cv::Mat to = View(scene.Picture<PixelDIB24, 1>(), CV_8UC3);
    cv::cvtColor(View(scene.Picture<PixelYUV422>(), CV_8UC2), to, cv::COLOR_YUV2BGR_YUY2);
  });
  contest.Enter("AbsoluteDifference", name, [](Scene& scene) {
    cv::Mat difference(scene.height, scene.width, CV_8UC2,
                       scene.Bytes(0, static_cast<std::size_t>(2 * scene.width * scene.height)).data());
    cv::absdiff(View(scene.Picture<PixelYUV422>(), CV_8UC2), View(scene.Picture<PixelYUV422, 1>(), CV_8UC2),
                difference);
    cv::Mat to = View(scene.Picture<PixelGrey>(), CV_8UC1);
    cv::extractChannel(difference, to, 0);
  });
  contest.Enter("Average", name, [](Scene& scene) {
    cv::Mat to = View(scene.Picture<PixelGrey, 2>(), CV_8UC1);
    cv::addWeighted(View(scene.Picture<PixelGrey>(), CV_8UC1), 0.5,
                    View(scene.Picture<PixelGrey, 1>(), CV_8UC1), 0.5, 0, to);
  });
  for (const int windowSize : {3, 4, 5, 9, 15, 31, 255}) {
    contest.Enter("AverageFilter " + std::to_string(windowSize), name, [windowSize](Scene& scene) {
      cv::Mat to = View(scene.Picture<PixelGrey, 1>(), CV_8UC1);
      cv::blur(View(scene.Picture<PixelGrey>(), CV_8UC1), to, cv::Size(windowSize, windowSize),
               cv::Point(-1, -1), cv::BORDER_REPLICATE);
    });
  }
  contest.Enter("Scanning sideways", name, [](Scene& scene) {
    cv::Mat to = View(scene.Picture<PixelYUV422, 1>(), CV_8UC2);
    const cv::Matx23d shift(1, 0, -15.4, 0, 1, 0);
    cv::warpAffine(View(scene.Picture<PixelYUV422>(), CV_8UC2), to, shift, to.size(), cv::INTER_LINEAR);
  });
}

}  // namespace kv_bench
