// Works on OpenCV matrices in place: no pixel is copied but by the operation itself.

#include <cstdio>
#include <opencv2/core.hpp>

#include "frame/interfaces/copy.h"
#include "image/errors/kv_exception.h"
#include "run/opencv_view.h"
#include "run/runner.h"

using namespace kv_img;
using Frame = Image<PixelYUV422>;
using Bitmap = Image<PixelDIB24>;
using CopyToBitmap = CopyAlgorithmInterface<Frame, Bitmap>;

int main() try {
  // Video as cameras give it: chroma first, studio range. Grey with a white square.
  cv::Mat video(288, 352, CV_8UC2, cv::Scalar(128, 126));
  video(cv::Rect(100, 80, 64, 64)) = cv::Scalar(128, 235);
  cv::Mat picture(288, 352, CV_8UC3);

  ImageOptions chromaFirst;
  chromaFirst.layout = 4097;
  const Frame frame = kv_run::ViewOf<PixelYUV422>(video, chromaFirst);
  Bitmap bitmap = kv_run::ViewOf<PixelDIB24>(picture);
  const auto& copy = kv_run::Load<CopyToBitmap>("Copy", {PixelYUV422::ClassID, PixelDIB24::ClassID});
  kv_run::Run(kv_run::WorkerPool(2), copy, frame, bitmap);

  const auto inside = picture.at<cv::Vec3b>(100, 120);
  const auto outside = picture.at<cv::Vec3b>(10, 10);
  std::printf("blue, green, red: %d %d %d in the square, %d %d %d around it\n", inside[0], inside[1],
              inside[2], outside[0], outside[1], outside[2]);
  return inside == cv::Vec3b(255, 255, 255) && outside == cv::Vec3b(128, 128, 128) ? 0 : 1;
} catch (const kv_std::KVException& error) {
  std::fprintf(stderr, "%ls\n", error.Message().c_str());
  return 1;
}
