// A host as a machine builder writes one: dlopen the library, resolve the four entry points and
// call operations through the raw virtual table by slot index, with its own function types.
// Nothing of the library's header is used, so each call proves a slot's index and where its
// arguments go, on input whose answer tells them apart (support/slot_calls.hpp). What the
// operations compute is the subsystems' tests' business.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/scenes.hpp"
#include "support/slot_calls.hpp"

namespace {

using host::HostLibrary;
using namespace slots;
using scenes::Slice;

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

host::Object NewImg() { return {HostLibrary::Get().createImg, HostLibrary::Get().releaseImg}; }

class HostSlots : public ::testing::TestWithParam<std::size_t> {};

TEST_P(HostSlots, EachSlotTakesItsArgumentsWhereTheHostPutsThem) {
  HostLibrary& lib = HostLibrary::Get();
  Objects objects{{lib.createImg, lib.releaseImg}, {lib.createNum, lib.releaseNum}};
  SCOPED_TRACE(Rows()[GetParam()].name);
  RunOnce(Rows()[GetParam()], objects, 0);
}

INSTANTIATE_TEST_SUITE_P(Table, HostSlots, ::testing::Range<std::size_t>(0, Rows().size()),
                         TestName);

TEST(HostSlot2, ReadsTheTestImageGivenByPath) {
  host::Object img = NewImg();
  std::string path = ::testing::TempDir() + "host_circle_demo.png";
  ASSERT_TRUE(cv::imwrite(path, scenes::DiscPlane({140, 120}, {70.3f, 60.6f}, 20.0f)));
  EXPECT_EQ(img.Call<int>(2, reinterpret_cast<U8>(path.data())), 0);
  EXPECT_EQ(img.Call<int>(2, U8{}), -1);
}

U8 Text(std::string& path) { return reinterpret_cast<U8>(path.data()); }

// Slot 31 hands out red, green, blue in that order, reads para[0] truncated characters of the
// path (the rest may be anything) and expands grey files; slot 32 takes the same order.
TEST(HostFiles, LoadAndSaveKeepRedGreenBlueInThatOrder) {
  host::Object img = NewImg();
  cv::Mat colour(2, 3, CV_8UC3, cv::Scalar(10, 20, 30));  // B, G, R
  std::string path = ::testing::TempDir() + "host_colour.png", padded = path + "TRAILING";
  ASSERT_TRUE(cv::imwrite(path, colour));
  U8 planes[3] = {};
  float para[3] = {static_cast<float>(path.size()) + 0.9f, 0, 0};
  ASSERT_EQ(img.Call<int>(31, Text(padded), &planes[0], &planes[1], &planes[2], para), 0);
  EXPECT_EQ(Slice(para, 1, 2), (Floats{3, 2}));
  EXPECT_EQ(Bytes({planes[0][5], planes[1][5], planes[2][5]}), (Bytes{30, 20, 10}));
  std::string saved = ::testing::TempDir() + "host_saved.png";
  float savePara[3] = {static_cast<float>(saved.size()), 3, 2};
  ASSERT_EQ(img.Call<int>(32, Text(saved), planes[0], planes[1], planes[2], savePara), 0);
  EXPECT_EQ(img.Call<int>(32, Text(saved), planes[0], U8{}, planes[2], savePara), -1);
  for (U8 plane : planes) ::operator delete(plane);
  EXPECT_EQ(cv::norm(cv::imread(saved, cv::IMREAD_UNCHANGED), colour, cv::NORM_INF), 0.0);
  ASSERT_TRUE(cv::imwrite(path, cv::Mat(4, 2, CV_8UC1, cv::Scalar(77))));
  ASSERT_EQ(img.Call<int>(31, Text(padded), &planes[0], &planes[1], &planes[2], para), 0);
  for (U8 plane : planes) {
    EXPECT_EQ(Bytes(plane, plane + 8), Bytes(8, 77));
    ::operator delete(plane);
  }
}

// The errors hosts expect cross the table as their own types and leave nothing allocated (the
// sanitizer suite runs this program under LeakSanitizer).
TEST(HostFiles, ErrorsCrossTheTableAsTheirOwnTypes) {
  host::Object img = NewImg();
  std::string missing = "/nonexistent/board.png";
  U8 sentinel = reinterpret_cast<U8>(0x1234), r = sentinel, g = sentinel, b = sentinel;
  float para[3] = {static_cast<float>(missing.size()), 7, 7};
  try {
    img.Call<int>(31, Text(missing), &r, &g, &b, para);
    ADD_FAILURE() << "no exception";
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "invalid vector<T> subscript");
  }
  EXPECT_EQ(Slice(para, 1, 2), Floats(2, 0.0f));
  EXPECT_EQ(std::vector<U8>({r, g, b}), std::vector<U8>(3, sentinel));
  Bytes plane(16, 50);
  std::string unknown = ::testing::TempDir() + "host_unknown.xyz";
  float save[3] = {static_cast<float>(unknown.size()), 4, 4};
  U8 p = plane.data();
  EXPECT_THROW(img.Call<int>(32, Text(unknown), p, p, p, save), cv::Exception);
  float emptySource[5] = {0, 0, 4, 4, 0};
  EXPECT_THROW(img.Call<int>(33, p, p, p, p, p, p, emptySource), cv::Exception);
}

}  // namespace
