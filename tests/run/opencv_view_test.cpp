// Matrices as images: the same bytes, not a copy of them.
#include "run/opencv_view.h"

#include <gtest/gtest.h>

#include "frame/interfaces/copy.h"
#include "run/runner.h"
#include "tests/support/expect_error.h"

namespace {

using namespace kv_img;
using kv_run::ViewOf;

using Frame = Image<PixelYUV422>;
using GreyPixel = PixelNoColor<unsigned char>;

template <class PixelClass>
void ExpectSharedRows(int type, std::size_t bytesPerPixel) {
  cv::Mat whole(20, 40, type, cv::Scalar::all(7));
  const cv::Mat part = whole(cv::Rect(8, 3, 24, 10));
  Image<PixelClass> view = ViewOf<PixelClass>(part);
  ASSERT_EQ(view.GetWidth(), 24U);
  ASSERT_EQ(view.GetHeight(), 10U);
  for (int row = 0; row < 10; ++row) {
    EXPECT_EQ(view.Row(row).data(), part.ptr(row));
    EXPECT_EQ(view.Row(row).size(), 24 * bytesPerPixel);
  }
  view.Row(9)[0] = 99;
  EXPECT_EQ(*whole.ptr(12, 8), 99);
}

TEST(OpenCvView, EveryTypeSharesItsRows) {
  ExpectSharedRows<PixelYUV422>(CV_8UC2, 2);
  ExpectSharedRows<PixelDIB24>(CV_8UC3, 3);
  ExpectSharedRows<PixelDIB32>(CV_8UC4, 4);
  ExpectSharedRows<GreyPixel>(CV_8UC1, 1);
}

TEST(OpenCvView, OptionsReachTheImage) {
  const cv::Mat mat(4, 8, CV_8UC2);
  ImageOptions options;
  options.layout = 4097;
  options.properties.fieldParity = 1;
  const Frame view = ViewOf<PixelYUV422>(mat, options);
  EXPECT_EQ(view.GetPixelLayout(), 4097);
  EXPECT_EQ(view.GetProperties().fieldParity, 1);
  EXPECT_EQ(ViewOf<PixelYUV422>(mat).GetPixelLayout(), 4098);
}

TEST(OpenCvView, CopyBetweenMatricesLeavesTheSurroundingsAlone) {
  cv::Mat video(16, 32, CV_8UC2, cv::Scalar(235, 128));
  cv::Mat screen(32, 64, CV_8UC3, cv::Scalar::all(9));
  cv::Mat window = screen(cv::Rect(16, 8, 32, 16));
  const Frame from = ViewOf<PixelYUV422>(video);
  Image<PixelDIB24> to = ViewOf<PixelDIB24>(window);
  using Copy = CopyAlgorithmInterface<Frame, Image<PixelDIB24>>;
  kv_run::Run(kv_run::WorkerPool(3), kv_run::Load<Copy>("Copy", {PixelYUV422::ClassID, PixelDIB24::ClassID}),
              from, to);
  for (int y = 0; y < screen.rows; ++y) {
    for (int x = 0; x < screen.cols; ++x) {
      const int expected = cv::Rect(16, 8, 32, 16).contains({x, y}) ? 255 : 9;
      ASSERT_EQ(screen.at<cv::Vec3b>(y, x), cv::Vec3b::all(static_cast<uchar>(expected))) << x << ',' << y;
    }
  }
}

TEST(OpenCvView, WrongMatricesAreRefused) {
  const auto codeOf = [](const cv::Mat& mat) {
    try {
      ViewOf<PixelDIB24>(mat);
    } catch (const AlgoException& error) {
      return static_cast<int>(error.Code());
    }
    return 0;
  };
  EXPECT_EQ(codeOf(cv::Mat(4, 4, CV_8UC3)), 0);
  EXPECT_EQ(codeOf(cv::Mat(4, 4, CV_8UC4)), 2);
  EXPECT_EQ(codeOf(cv::Mat(4, 4, CV_16UC3)), 2);
  EXPECT_EQ(codeOf(cv::Mat()), 2);
  const int sides[] = {4, 4, 4};
  EXPECT_EQ(codeOf(cv::Mat(3, sides, CV_8UC3)), 2);
}

}  // namespace
