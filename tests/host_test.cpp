// A host as a machine builder writes one: dlopen the library, resolve the four entry points
// and call operations through the raw virtual table by slot index, with its own function
// types. Nothing of the library's header is used, so this proves slot order and arguments.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/host_library.hpp"

namespace {

using host::HostLibrary;

TEST(HostLibrary, ResolvesTheFourEntryPointsAndLaysOutBothObjects) {
  HostLibrary& lib = HostLibrary::Get();
  void* object = lib.createImg();
  ASSERT_NE(object, nullptr);
  std::int32_t member = 0;
  std::memcpy(&member, static_cast<char*>(object) + 8, sizeof member);
  EXPECT_EQ(member, 5);
  EXPECT_EQ(lib.releaseImg(object), 0);
  EXPECT_EQ(lib.releaseImg(nullptr), 0);

  void* numeric = lib.createNum();
  ASSERT_NE(numeric, nullptr);
  EXPECT_EQ(lib.releaseNum(numeric), 0);
  EXPECT_EQ(lib.releaseNum(nullptr), 0);
}

TEST(HostLibrary, SlotZeroAndTheRecordSumOfSlotOne) {
  host::ImgObject img;
  EXPECT_EQ(img.Call<int>(0), 0);
  unsigned char samples[2] = {200, 100};
  struct Record {
    std::uint64_t header;
    unsigned char* data;
  } record{0, samples};
  EXPECT_EQ(img.Call<int>(1, &record), 300);  // not clamped to 255
}

TEST(HostLibrary, Slot30DispatchesOnTheTruncatedMode) {
  host::ImgObject img;
  float plane[4] = {1, 2, 3, 4};
  float out[4] = {9, 9, 9, 9};
  float para[8] = {1.9f, 2, 2, 3, 0, 100, 0, 0};
  EXPECT_EQ(img.Call<int>(30, plane, out, para), 0);  // mode 1: nothing touched
  EXPECT_EQ(out[0], 9.0f);
  para[0] = 2.0f;
  EXPECT_EQ(img.Call<int>(30, plane, out, para), -1);
  para[0] = -1.0f;
  EXPECT_EQ(img.Call<int>(30, plane, out, para), -1);
}

TEST(HostLibrary, NumericObjectThroughItsTable) {
  host::NumObject num;
  unsigned char plane[6] = {0, 10, 255, 128, 1, 254};
  float para[3] = {3, 2, 1};
  EXPECT_EQ(num.Call<int>(0, plane, para, 3), 0);
  const unsigned char inverted[6] = {255, 245, 0, 127, 254, 1};
  EXPECT_EQ(std::memcmp(plane, inverted, 6), 0);

  float in[15] = {0, 12, 0, 1, 1, 1, 1, 1, 0, 0, 1, 5, 1, 100, 50};
  float out[5] = {};
  EXPECT_EQ(num.Call<int>(1, in, 15, out, 5), 1);
  EXPECT_EQ(out[0], 105.0f);
  EXPECT_EQ(out[3], 7.0f);

  float values[13] = {1, 50, 10, 10, 10, 10, 20, 1, 30, 1, 0, 40, 50};
  float result[8] = {};
  EXPECT_EQ(num.Call<int>(2, values, 13, result, 8), 0);
  EXPECT_EQ(result[0], 1.0f);
  EXPECT_EQ(result[1], 15.0f);
  EXPECT_EQ(result[7], 30.0f);
}

unsigned char* Text(const std::string& path) {
  return reinterpret_cast<unsigned char*>(const_cast<char*>(path.data()));
}

// Slot 31 hands the planes out as a2 = red, a3 = green, a4 = blue, reads a5[0] truncated
// characters of the path (the rest may be anything) and expands grey files; slot 32 takes
// the planes in the same order.
TEST(HostLibrary, Slots31And32KeepRedGreenBlueInThatOrder) {
  host::ImgObject img;
  cv::Mat colour(2, 3, CV_8UC3, cv::Scalar(10, 20, 30));  // B, G, R
  colour.at<cv::Vec3b>(1, 2) = {1, 2, 3};
  const std::string colourPath = ::testing::TempDir() + "host_colour.png";
  ASSERT_TRUE(cv::imwrite(colourPath, colour));
  unsigned char* planes[3] = {};
  float para[3] = {static_cast<float>(colourPath.size()) + 0.9f, 0, 0};
  const std::string padded = colourPath + "TRAILING";
  ASSERT_EQ(img.Call<int>(31, Text(padded), &planes[0], &planes[1], &planes[2], para), 0);
  EXPECT_EQ(para[1], 3.0f);
  EXPECT_EQ(para[2], 2.0f);
  EXPECT_EQ(std::vector<int>({planes[0][0], planes[1][0], planes[2][0]}),
            std::vector<int>({30, 20, 10}));
  EXPECT_EQ(std::vector<int>({planes[0][5], planes[1][5], planes[2][5]}),
            std::vector<int>({3, 2, 1}));

  const std::string savedPath = ::testing::TempDir() + "host_saved.png";
  float savePara[3] = {static_cast<float>(savedPath.size()), 3, 2};
  ASSERT_EQ(img.Call<int>(32, Text(savedPath), planes[0], planes[1], planes[2], savePara), 0);
  for (unsigned char* plane : planes) ::operator delete(plane);
  const cv::Mat saved = cv::imread(savedPath, cv::IMREAD_UNCHANGED);
  ASSERT_EQ(saved.type(), CV_8UC3);
  EXPECT_EQ(cv::norm(saved, colour, cv::NORM_INF), 0.0);

  const std::string greyPath = ::testing::TempDir() + "host_grey.png";
  ASSERT_TRUE(cv::imwrite(greyPath, cv::Mat(4, 2, CV_8UC1, cv::Scalar(77))));
  para[0] = static_cast<float>(greyPath.size());
  ASSERT_EQ(img.Call<int>(31, Text(greyPath), &planes[0], &planes[1], &planes[2], para), 0);
  for (unsigned char* plane : planes) {
    EXPECT_EQ(std::vector<unsigned char>(plane, plane + 8), std::vector<unsigned char>(8, 77));
    ::operator delete(plane);
  }
}

// The contractual exceptions cross the table as their own types and leave nothing allocated
// (the sanitizer suite runs this program under LeakSanitizer).
TEST(HostLibrary, UnreadableFilesRaiseTheSubscriptErrorAndAllocateNothing) {
  host::ImgObject img;
  for (const std::string& path : {std::string("/nonexistent/board.png"), std::string()}) {
    unsigned char* sentinel = reinterpret_cast<unsigned char*>(0x1234);
    unsigned char *r = sentinel, *g = sentinel, *b = sentinel;
    // An empty path is given as a negative count.
    float para[3] = {path.empty() ? -3.0f : static_cast<float>(path.size()), 7, 7};
    std::string padded = path + "TRAILING";
    try {
      img.Call<int>(31, Text(padded), &r, &g, &b, para);
      ADD_FAILURE() << "no exception for '" << path << "'";
    } catch (const std::out_of_range& error) {
      EXPECT_STREQ(error.what(), "invalid vector<T> subscript");
    }
    EXPECT_EQ(std::vector<float>(para + 1, para + 3), std::vector<float>(2, 0.0f));
    EXPECT_EQ(std::vector<unsigned char*>({r, g, b}), std::vector<unsigned char*>(3, sentinel));
  }
}

TEST(HostLibrary, UnknownExtensionsAndEmptyImagesRaiseCvException) {
  host::ImgObject img;
  std::vector<unsigned char> plane(16, 50), dst(16);
  const std::string unknown = ::testing::TempDir() + "host_unknown.xyz";
  float para[3] = {static_cast<float>(unknown.size()), 4, 4};
  EXPECT_THROW(img.Call<int>(32, Text(unknown), plane.data(), plane.data(), plane.data(), para),
               cv::Exception);
  const std::string empty = ::testing::TempDir() + "host_empty.png";
  for (float bad : {0.0f, -4.0f, std::numeric_limits<float>::quiet_NaN()}) {
    float size[3] = {static_cast<float>(empty.size()), bad, 4};
    EXPECT_THROW(img.Call<int>(32, Text(empty), plane.data(), plane.data(), plane.data(), size),
                 cv::Exception)
        << bad;
  }
  float resize[5] = {0, 0, 4, 4, 0};  // an empty source
  unsigned char* p = plane.data();
  unsigned char* d = dst.data();
  EXPECT_THROW(img.Call<int>(33, p, p, p, d, d, d, resize), cv::Exception);
}

TEST(HostLibrary, SavingWithANullPointerReturnsMinusOneAndWritesNoFile) {
  host::ImgObject img;
  const std::string path = ::testing::TempDir() + "host_never_written.png";
  std::remove(path.c_str());
  unsigned char plane[4] = {1, 2, 3, 4};
  unsigned char* none = nullptr;
  float para[3] = {static_cast<float>(path.size()), 2, 2};
  EXPECT_EQ(img.Call<int>(32, Text(path), plane, plane, none, para), -1);
  EXPECT_EQ(img.Call<int>(32, Text(path), plane, plane, plane, static_cast<float*>(nullptr)), -1);
  EXPECT_EQ(img.Call<int>(32, none, plane, plane, plane, para), -1);
  EXPECT_FALSE(cv::imread(path).data);
}

}  // namespace
