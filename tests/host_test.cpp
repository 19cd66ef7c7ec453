// A host as a machine builder writes one: dlopen the library, resolve the four entry points
// and call operations through the raw virtual table by slot index, with its own function
// types. Nothing of the library's header is used, so this proves slot order and arguments.
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

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

TEST(HostLibrary, ImageFileRoundTripThroughSlots31And32) {
  host::ImgObject img;
  const int width = 5, height = 3;
  std::vector<unsigned char> red(width * height), green(width * height), blue(width * height);
  for (int i = 0; i < width * height; ++i) {
    red[i] = static_cast<unsigned char>(i * 10);
    green[i] = static_cast<unsigned char>(200 - i);
    blue[i] = static_cast<unsigned char>(i * 3 + 1);
  }
  const std::string path = ::testing::TempDir() + "host_round_trip.png";
  float savePara[3] = {static_cast<float>(path.size()), width, height};
  auto* text = reinterpret_cast<unsigned char*>(const_cast<char*>(path.data()));
  ASSERT_EQ(img.Call<int>(32, text, red.data(), green.data(), blue.data(), savePara), 0);

  unsigned char *r = nullptr, *g = nullptr, *b = nullptr;
  float loadPara[3] = {static_cast<float>(path.size()), 0, 0};
  ASSERT_EQ(img.Call<int>(31, text, &r, &g, &b, loadPara), 0);
  EXPECT_EQ(loadPara[1], width);
  EXPECT_EQ(loadPara[2], height);
  EXPECT_EQ(std::memcmp(r, red.data(), red.size()), 0);
  EXPECT_EQ(std::memcmp(g, green.data(), green.size()), 0);
  EXPECT_EQ(std::memcmp(b, blue.data(), blue.size()), 0);
  ::operator delete(r);
  ::operator delete(g);
  ::operator delete(b);
}

TEST(HostLibrary, UnreadableFileRaisesTheSubscriptErrorAndAllocatesNothing) {
  host::ImgObject img;
  const std::string path = "/nonexistent/board.png";
  unsigned char* sentinel = reinterpret_cast<unsigned char*>(0x1234);
  unsigned char *r = sentinel, *g = sentinel, *b = sentinel;
  float para[3] = {static_cast<float>(path.size()), 7, 7};
  auto* text = reinterpret_cast<unsigned char*>(const_cast<char*>(path.data()));
  try {
    img.Call<int>(31, text, &r, &g, &b, para);
    FAIL() << "no exception";
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "invalid vector<T> subscript");
  }
  EXPECT_EQ(para[1], 0.0f);
  EXPECT_EQ(para[2], 0.0f);
  EXPECT_EQ(r, sentinel);
  EXPECT_EQ(g, sentinel);
  EXPECT_EQ(b, sentinel);
}

unsigned char* Text(const std::string& path) {
  return reinterpret_cast<unsigned char*>(const_cast<char*>(path.data()));
}

TEST(HostLibrary, LoadPutsBlueInTheLastPlaneAndExpandsGreyFiles) {
  host::ImgObject img;
  cv::Mat colour(2, 3, CV_8UC3, cv::Scalar(10, 20, 30));  // B, G, R
  const std::string colourPath = ::testing::TempDir() + "host_colour.png";
  ASSERT_TRUE(cv::imwrite(colourPath, colour));
  unsigned char *a2 = nullptr, *a3 = nullptr, *a4 = nullptr;
  float para[3] = {static_cast<float>(colourPath.size()) + 0.9f, 0, 0};
  ASSERT_EQ(img.Call<int>(31, Text(colourPath), &a2, &a3, &a4, para), 0);
  EXPECT_EQ(para[1], 3.0f);
  EXPECT_EQ(para[2], 2.0f);
  EXPECT_EQ(a2[5], 30);
  EXPECT_EQ(a3[5], 20);
  EXPECT_EQ(a4[5], 10);
  for (unsigned char* plane : {a2, a3, a4}) ::operator delete(plane);

  cv::Mat grey(4, 2, CV_8UC1, cv::Scalar(77));
  const std::string greyPath = ::testing::TempDir() + "host_grey.png";
  ASSERT_TRUE(cv::imwrite(greyPath, grey));
  para[0] = static_cast<float>(greyPath.size());
  ASSERT_EQ(img.Call<int>(31, Text(greyPath), &a2, &a3, &a4, para), 0);
  for (unsigned char* plane : {a2, a3, a4}) {
    for (int i = 0; i < 8; ++i) EXPECT_EQ(plane[i], 77);
    ::operator delete(plane);
  }
}

TEST(HostLibrary, ThePathIsTheFirstTruncatedCountOfCharacters) {
  host::ImgObject img;
  cv::Mat grey(1, 1, CV_8UC1, cv::Scalar(5));
  const std::string path = ::testing::TempDir() + "host_short.png";
  ASSERT_TRUE(cv::imwrite(path, grey));
  const std::string padded = path + "TRAILING";
  unsigned char *a2 = nullptr, *a3 = nullptr, *a4 = nullptr;
  float para[3] = {static_cast<float>(path.size()) + 0.9f, 0, 0};
  ASSERT_EQ(img.Call<int>(31, Text(padded), &a2, &a3, &a4, para), 0);
  EXPECT_EQ(a4[0], 5);
  for (unsigned char* plane : {a2, a3, a4}) ::operator delete(plane);
  para[0] = -3.0f;  // an empty path reads nothing
  EXPECT_THROW(img.Call<int>(31, Text(padded), &a2, &a3, &a4, para), std::out_of_range);
}

TEST(HostLibrary, SavingWithANullPointerReturnsMinusOneAndWritesNoFile) {
  host::ImgObject img;
  const std::string path = ::testing::TempDir() + "host_never_written.png";
  std::remove(path.c_str());
  unsigned char plane[4] = {1, 2, 3, 4};
  float para[3] = {static_cast<float>(path.size()), 2, 2};
  EXPECT_EQ(img.Call<int>(32, Text(path), plane, plane, static_cast<unsigned char*>(nullptr),
                          para),
            -1);
  EXPECT_EQ(img.Call<int>(32, Text(path), plane, plane, plane, static_cast<float*>(nullptr)),
            -1);
  EXPECT_EQ(img.Call<int>(32, static_cast<unsigned char*>(nullptr), plane, plane, plane, para),
            -1);
  EXPECT_FALSE(cv::imread(path).data);
}

}  // namespace
