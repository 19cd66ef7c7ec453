// The buffer operations through the raw table, as the host calls them.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/host_library.hpp"

namespace {

using Bytes = std::vector<unsigned char>;
using U8 = unsigned char*;

// Three dark and three bright captures of a vignette: the table slot 24 writes for target
// level 200 makes slot 25 flatten the bright captures. (The table's rules, even windows
// among them, are checked in buffers_test.cpp.)
TEST(HostBuffers, FlatFieldTableFromSlot24CorrectsAVignetteWithSlot25) {
  host::ImgObject img;
  const int w = 16, h = 12, area = w * h, run = 3 * area;
  Bytes stack(6 * area);
  for (int i = 0; i < 6 * area; ++i) {
    const int x = i % w, y = i / w % h;
    const int edge = std::min({x, y, w - 1 - x, h - 1 - y});
    stack[i] = static_cast<unsigned char>((i < run ? 150 : 60) + 8 * edge);
  }
  float para[10] = {0, 1, w, h, 1, 10, 0, 200, 250, 1};
  std::vector<float> table(2 * run, 0);
  int a5 = 9;
  img.Call<int>(24, stack.data(), para, 0, table.data(), &a5);
  EXPECT_EQ(a5, 0);
  Bytes corrected(run, 0);
  img.Call<int>(25, stack.data(), table.data(), run, corrected.data());
  EXPECT_EQ(corrected, Bytes(run, 200));
}

TEST(HostBuffers, Slot28FindsTheDominantLevelOfEachPlane) {
  host::ImgObject img;
  Bytes a(20, 3), b(20, 200), c(20, 255);
  a[4] = 120;
  std::fill(b.begin(), b.begin() + 10, 40);
  unsigned char levels[3] = {1, 1, 1};
  EXPECT_EQ(img.Call<int>(28, a.data(), b.data(), c.data(), 5, 4, levels), 0);
  EXPECT_EQ(levels[0], 120);
  EXPECT_EQ(levels[1], 40);
  EXPECT_EQ(levels[2], 0);
}

TEST(HostBuffers, Slot29FillsHolesOfANarrowImageAndCopiesThePlanes) {
  host::ImgObject img;
  const int w = 9, h = 6;
  Bytes r(w * h, 100), g(w * h, 150), b(w * h, 200);
  r[2 * w + 3] = g[2 * w + 3] = b[2 * w + 3] = 0;
  Bytes o5(w * h), o6(w * h), o7(w * h);
  float para[6] = {w, h, 100, 150, 200, 0};
  EXPECT_EQ(img.Call<int>(29, r.data(), g.data(), b.data(), para, o5.data(), o6.data(), o7.data()),
            0);
  EXPECT_EQ(r, Bytes(w * h, 100));
  EXPECT_EQ(b, Bytes(w * h, 200));
  EXPECT_EQ(o5, r);
  EXPECT_EQ(o6, g);
  EXPECT_EQ(o7, b);
}

TEST(HostBuffers, Slot30Mode0FiltersAFloatPlaneWithTheMedian) {
  host::ImgObject img;
  float plane[6] = {1, 9, 2, 8, 3, 7}, second[6] = {};
  float para[8] = {-0.5f, 3, 2, 3, 0, 100, 2, 1};  // mode -0.5 truncates to 0
  img.Call<int>(30, plane, second, para);
  EXPECT_EQ(second[1], 9.0f);  // the plane as it was
  EXPECT_EQ(plane[0], 5.5f);   // corner 1, 9, 8, 3: mean of the middle pair
  EXPECT_EQ(plane[1], 5.0f);   // 1, 9, 2, 8, 3, 7: mean of 3 and 7

  para[3] = -1;  // a negative window is empty everywhere: every sample becomes L
  para[4] = 4;
  img.Call<int>(30, plane, second, para);
  EXPECT_EQ(std::vector<float>(plane, plane + 6), std::vector<float>(6, 4.0f));
}

TEST(HostBuffers, Slot33ResizesIntoTheCallersPlanes) {
  host::ImgObject img;
  Bytes s1(8 * 6, 10), s2(8 * 6, 20), s3(8 * 6, 30), d1(4 * 3), d2(4 * 3), d3(4 * 3);
  float para[5] = {8, 6, 4, 3, 1};
  img.Call<int>(33, s1.data(), s2.data(), s3.data(), d1.data(), d2.data(), d3.data(), para);
  EXPECT_EQ(d1, Bytes(12, 10));
  EXPECT_EQ(d2, Bytes(12, 20));
  EXPECT_EQ(d3, Bytes(12, 30));
  para[2] = 0;
  EXPECT_EQ(
      img.Call<int>(33, s1.data(), s2.data(), s3.data(), d1.data(), d2.data(), d3.data(), para),
      -1);
}

TEST(HostBuffers, Slot35SortsWithAStablePermutation) {
  host::ImgObject img;
  int values[4] = {3, 1, 2, 1}, permutation[4] = {};
  float para[4] = {4, 0, 0, 1};
  EXPECT_EQ(img.Call<int>(35, values, para, permutation), 0);
  EXPECT_EQ(std::vector<int>(values, values + 4), (std::vector<int>{3, 2, 1, 1}));
  EXPECT_EQ(std::vector<int>(permutation, permutation + 4), (std::vector<int>{0, 2, 1, 3}));
}

}  // namespace
