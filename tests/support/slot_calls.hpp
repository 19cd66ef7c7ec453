// One call of every operation, as a host makes it: by slot index through the raw table, with
// the host's own buffers, on inputs whose answer each row checks. host_test runs the rows on the
// library file; reliability_test runs them from eight threads at once and checks that no input
// changed.
#ifndef IMGTARN_TESTS_SUPPORT_SLOT_CALLS_HPP
#define IMGTARN_TESTS_SUPPORT_SLOT_CALLS_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <deque>
#include <functional>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "support/host_library.hpp"

namespace slots {

using Bytes = std::vector<unsigned char>;
using Floats = std::vector<float>;
using Ints = std::vector<int>;
using U8 = unsigned char*;
void* const kNone = nullptr;
constexpr int kW = 96, kH = 80;
constexpr float kWf = kW, kHf = kH;

struct Objects {
  host::Object img;
  host::Object num;
};

struct Outcome {
  Bytes outputs;        // every buffer and returned value of the call, concatenated
  std::string changed;  // names of input buffers that differ after the call
};

// The host's buffers of one call. In() buffers are the operation's inputs: a copy is kept and
// Finish() names those that changed. Out() buffers may be written. Every buffer (inputs too,
// unless they differ per worker by design), every value Img() and Num() return and any Extra()
// bytes make up the outputs that concurrent runs must reproduce.
class Call {
 public:
  explicit Call(Objects& objects) : objects_(objects) {}
  Objects& objects() { return objects_; }
  // Calls table entry `slot` of the image (Img) or numeric (Num) object.
  template <typename... Args>
  int Img(int slot, Args... args) {
    return Returned(objects_.img.Call<int>(slot, args...));
  }
  template <typename... Args>
  int Num(int slot, Args... args) {
    return Returned(objects_.num.Call<int>(slot, args...));
  }
  template <typename T>
  T* In(const char* name, std::vector<T> values, bool sameForEveryWorker = true) {
    return Keep(name, std::move(values), sameForEveryWorker);
  }
  template <typename T>
  T* Out(std::vector<T> values) {
    return Keep(nullptr, std::move(values), true);
  }
  void Extra(const void* data, std::size_t bytes) {
    const auto* p = static_cast<const unsigned char*>(data);
    extra_.insert(extra_.end(), p, p + bytes);
  }
  Outcome Finish() const {
    Outcome o;
    for (const Buffer& b : buffers_) {
      if (b.compared) o.outputs.insert(o.outputs.end(), b.data, b.data + b.bytes);
      if (b.name != nullptr && !std::equal(b.copy.begin(), b.copy.end(), b.data))
        o.changed += std::string(b.name) + " ";
    }
    o.outputs.insert(o.outputs.end(), extra_.begin(), extra_.end());
    return o;
  }

 private:
  struct Buffer {
    const char* name;
    std::shared_ptr<void> owner;
    const unsigned char* data;
    std::size_t bytes;
    bool compared;
    Bytes copy;
  };
  int Returned(int value) {
    Extra(&value, sizeof value);
    return value;
  }
  template <typename T>
  T* Keep(const char* name, std::vector<T> values, bool compared) {
    auto owned = std::make_shared<std::vector<T>>(std::move(values));
    const auto* data = reinterpret_cast<const unsigned char*>(owned->data());
    const std::size_t bytes = owned->size() * sizeof(T);
    buffers_.push_back(
        {name, owned, data, bytes, compared, name ? Bytes(data, data + bytes) : Bytes()});
    return owned->data();
  }
  Objects& objects_;
  std::deque<Buffer> buffers_;
  Bytes extra_;
};

inline Bytes ToBytes(const cv::Mat& m) { return Bytes(m.datastart, m.dataend); }
inline int At(const unsigned char* plane, int x, int y) { return plane[y * kW + x]; }

// A board of 20: a disc of 230 (r = 12 at 30, 30), a ring (72, 24), a 30 x 18 rectangle and a
// 3 x 3 speck.
inline const Bytes& Scene() {
  static const Bytes scene = [] {
    cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(20));
    cv::circle(m, {30, 30}, 12, cv::Scalar(230), cv::FILLED);
    cv::circle(m, {72, 24}, 9, cv::Scalar(210), cv::FILLED);
    cv::circle(m, {72, 24}, 4, cv::Scalar(20), cv::FILLED);
    cv::rectangle(m, cv::Rect(50, 50, 30, 18), cv::Scalar(200), cv::FILLED);
    cv::rectangle(m, cv::Rect(10, 64, 3, 3), cv::Scalar(180), cv::FILLED);
    return ToBytes(m);
  }();
  return scene;
}

// A plus (half size 15) or a rectangle (half size 20 x 12) centred at 48, 40 on a board of 25.
inline Bytes MarkPlane(bool cross) {
  cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(25));
  if (cross) {
    cv::rectangle(m, cv::Rect(33, 35, 30, 10), cv::Scalar(220), cv::FILLED);
    cv::rectangle(m, cv::Rect(43, 25, 10, 30), cv::Scalar(220), cv::FILLED);
  } else {
    cv::rectangle(m, cv::Rect(28, 28, 40, 24), cv::Scalar(220), cv::FILLED);
  }
  return ToBytes(m);
}

inline Bytes Rect(int x, int y, int w, int h) {
  cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(0));
  cv::rectangle(m, cv::Rect(x, y, w, h), cv::Scalar(255), cv::FILLED);
  return ToBytes(m);
}

// The lead template: the scene's rectangle with a margin of board.
inline Bytes LeadTemplate() {
  cv::Mat scene(kH, kW, CV_8UC1, const_cast<unsigned char*>(Scene().data()));
  return ToBytes(scene(cv::Rect(46, 46, 38, 26)).clone());
}

// Four 12 x 20 pads of 220 on a board of 30.
inline Bytes PadImage() {
  cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(30));
  for (int i = 0; i < 4; ++i)
    cv::rectangle(m, cv::Rect(8 + 22 * i, 30, 12, 20), cv::Scalar(220), -1);
  return ToBytes(m);
}

inline Bytes Plane(unsigned char value = 0) { return Bytes(kW * kH, value); }
inline Bytes Chars(const std::string& text) { return Bytes(text.begin(), text.end()); }
inline std::string TempPath(const std::string& name) {
  return ::testing::TempDir() + "imgtarn_slots_" + name;
}
// A host-style para array of `size` floats starting with `head`.
inline Floats Para(Floats head, std::size_t size) {
  head.resize(size, 0.0f);
  return head;
}

// Slot 27's blobs of the pad image, the templates slot 26 scores against.
struct PadBlobs {
  Bytes pixels = Bytes(64 * kW * kH, 0);
  Ints rects = Ints(4 * 64, 0);
  float count = 0;
};
inline const PadBlobs& Blobs(Objects& o) {
  static const PadBlobs blobs = [&o] {
    PadBlobs b;
    Bytes plane = PadImage();
    float para[6] = {kWf, kHf, 1, 0, 0, 0}, grid[2] = {0, 0};
    o.img.Call<int>(27, plane.data(), para, kNone, grid, b.pixels.data(), b.rects.data());
    b.count = grid[0] * grid[1];
    return b;
  }();
  return blobs;
}

struct Row {
  const char* name;
  int callsPerThread;  // 200, fewer for the slow searches so the test stays short
  std::function<void(Call&, int worker)> run;
};

// The disc of the scene found by a slot writing the centre to result[0], [1].
inline void ExpectDisc(const float* result, double within, int slot) {
  EXPECT_LE(std::hypot(result[0] - 30.0, result[1] - 30.0), within) << "slot " << slot;
}

// Slots 2, 4 and 5 always show a window; every other slot's debug output is off here.
inline const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
      {"0 Initialize", 200, [](Call& c, int) { c.Img(0); }},
      {"1 SumFirstTwoSamples", 200,
       [](Call& c, int) {
         struct {
           void* unused;
           U8 samples;
         } record{nullptr, c.In("samples", Bytes{200, 100})};
         EXPECT_EQ(c.Img(1, &record), 300);  // not clamped to 255
       }},
      {"3 4 5 DetectCircles", 50,
       [](Call& c, int) {
         char width[] = "96", height[] = "80", radius[] = "12", threshold[] = "60";
         char* texts[4] = {width, height, radius, threshold};
         U8 plane = c.In("plane", Scene());
         float* results[3] = {c.Out(Floats(3)), c.Out(Floats(3)), c.Out(Floats(3))};
         c.Img(3, plane, c.In("para", Floats{kWf, kHf, 12, 60, 0}), 5, results[0]);
         c.Img(4, plane, texts, kNone, results[1]);
         c.Img(5, plane, kW, kH, 12.0f, 60.0f, results[2]);
         for (int i = 0; i < 3; ++i) ExpectDisc(results[i], 2, 3 + i);
       }},
      {"10 11 12 LocateCircleMark", 20,
       [](Call& c, int) {
         for (const int slot : {10, 11, 12}) {
           float* result = c.Out(Floats(3));
           c.Img(slot, c.In("plane", Scene()), c.In("para", Floats{kWf, kHf, 12, 0, 0}), kNone,
                 result);
           ExpectDisc(result, slot == 12 ? 2 : 1, slot);  // 12 measures at half size
         }
       }},
      {"17 AdjustCircleEdges", 200,
       [](Call& c, int) {
         float* result = c.Out(Floats(5));
         c.Img(17, c.In("plane", Scene()), c.In("para", Floats{kWf, kHf, 31, 29, 12}), kNone,
               result);
         ExpectDisc(result, 1, 17);
       }},
      {"14 LocateCrossMark", 20,
       [](Call& c, int) {
         float* result = c.Out(Floats(4));
         c.Img(14, c.In("plane", MarkPlane(true)), c.In("para", Floats{kWf, kHf, 15, 15, 0}), kNone,
               result);
         EXPECT_NEAR(result[0], 48, 1);
         EXPECT_NEAR(result[2], 15, 1.5);
       }},
      {"18 LocateRectangleMark", 20,
       [](Call& c, int) {
         float* result = c.Out(Floats(4));
         c.Img(18, c.In("plane", MarkPlane(false)), c.In("para", Floats{kWf, kHf, 20, 12, 0}),
               kNone, result);
         EXPECT_NEAR(result[1], 40, 1);
         EXPECT_NEAR(result[3], 12, 1.5);
       }},
      // para[3] compares with 0.0 as a float: -0.0 counts the enclosed pixels, NaN and -1 the
      // outline.
      {"19 CountContourPixels", 200,
       [](Call& c, int) {
         U8 plane = c.In("plane", Scene());
         float* results[5];
         const float selectors[5] = {0.0f, -0.0f, 0.5f, std::nanf(""), -1.0f};
         for (int i = 0; i < 5; ++i) {
           results[i] = c.Out(Floats(10));
           c.Img(19, plane, c.Out(Floats{kWf, kHf, 128, selectors[i], 0, 8}), kNone, results[i]);
         }
         EXPECT_EQ(results[1][0], results[0][0]);
         for (int i : {3, 4}) EXPECT_EQ(results[i][0], results[2][0]) << i;
         EXPECT_GT(results[0][0], results[2][0]);
         EXPECT_EQ(results[0][1], 4.0f);
       }},
      {"6 DrawContoursAllExternal", 200,
       [](Call& c, int) {
         float* para = c.Out(Floats{kWf, kHf, 128, 1, 0, 255, 100, 50, 0});
         U8 targets[3] = {c.Out(Plane(1)), c.Out(Plane(2)), c.Out(Plane(3))};
         c.Img(6, c.In("source", Scene()), para, targets[0], targets[1], targets[2]);
         EXPECT_EQ(para[8], 4.0f);
         EXPECT_EQ(Ints({At(targets[0], 18, 30), At(targets[1], 18, 30), At(targets[2], 18, 30)}),
                   (Ints{255, 100, 50}));
         EXPECT_EQ(At(targets[1], 0, 0), 2);  // off the outlines each plane keeps its samples
       }},
      {"7 ClassifyRingContours", 200,
       [](Call& c, int) {
         float* para = c.Out(Floats{kWf, kHf, 128, 5, 0, 4, 8, 8, 0, 0, 0});
         float *rings = c.Out(Floats(32)), *solids = c.Out(Floats(32));
         c.Img(7, c.Out(Plane()), c.Out(Plane()), solids, para, rings, c.In("plane", Scene()));
         EXPECT_EQ(Floats(para + 8, para + 10), (Floats{1, 3}));  // one ring, three solids
         EXPECT_NEAR(rings[0], 72, 0.01);
       }},
      {"8 MorphBoundingRects", 200,
       [](Call& c, int) {
         float* para = c.Out(Para({kWf, kHf, 128, 1, 0, 1, 16}, 8 + 4 * 16));
         c.Img(8, c.In("source", Scene()), para);
         EXPECT_EQ(para[7], 4.0f);
       }},
      {"9 SegmentByMoments", 200,
       [](Call& c, int) {
         float* result = c.Out(Floats(1 + 3 * 32));
         c.Img(9, c.In("plane", Scene()), c.In("mask", Rect(0, 0, 60, 80)),
               c.In("para", Floats{kWf, kHf, 128, 10, 0, 32}), c.Out(Plane()), result);
         EXPECT_EQ(result[0], 2.0f);  // the disc and the rectangle's part inside the mask
       }},
      {"13 CutLeadRois", 100,
       [](Call& c, int) {
         float* para = c.Out(Para({kWf, kHf, 38, 26, 0, 8, 0.5f}, 19));
         c.Img(13, c.In("image", Scene()), c.In("template", LeadTemplate()), kNone, para);
         EXPECT_EQ(Floats(para + 7, para + 12), (Floats{1, para[8], 64.5f, 58.5f, 38}));
       }},
      {"16 MeasureLeadRoi", 100,
       [](Call& c, int) {
         float* result = c.Out(Floats(10));
         c.Img(16, c.In("image", Scene()), c.In("template", LeadTemplate()),
               c.In("para", Floats{kWf, kHf, 38, 26, 0, 8, 0.5f, 64.5f, 58.5f, 1.5f, 120}), result);
         EXPECT_EQ(result[0] + result[9], 1.0f);  // found, and judged good
       }},
      {"15 ApproxContoursDemo", 200,
       [](Call& c, int) {
         float* result = c.Out(Floats(17));
         c.Img(15, c.In("source", Scene()), c.In("para", Floats{kWf, kHf, 128, 2, 0, 16}),
               c.Out(Plane(7)), result);
         EXPECT_EQ(result[0], 4.0f);
       }},
      // A blob lying exactly on its pad inside the boundary scores 1: only in this order.
      {"20 FollowCadOverlay", 50,
       [](Call& c, int) {
         const Bytes cad = Rect(30, 30, 20, 16);
         float* scores = c.Out(Floats{-1, -1});
         for (int i = 0; i < 2; ++i)
           c.Img(20, c.In("boundary", Rect(10, 10, 70, 60)), c.In("cad", cad),
                 c.In("measured", i == 0 ? Rect(33, 32, 18, 16) : cad),
                 c.In("para", Floats{kWf, kHf, 0}), kNone, scores + i);
         EXPECT_LT(scores[0], 1.0f);
         EXPECT_EQ(scores[1], 1.0f);
       }},
      // Below mode 100 the band around the plane's blobs goes to the first pointer, its outer
      // ring to the second and its inner ring to the third.
      {"21 MorphRing band", 200,
       [](Call& c, int) {
         float* para = c.Out(Floats{kWf, kHf, 128, 2, 0, 0, 0, 0});
         U8 band = c.Out(Plane()), outer = c.Out(Plane()), inner = c.Out(Plane());
         c.Img(21, band, outer, inner, para, 99, c.In("plane", Scene()));
         EXPECT_EQ(para[5], para[6] + para[7]);
         // Just outside the disc's top edge, then on it.
         EXPECT_EQ(Ints({At(band, 30, 17), At(outer, 30, 17), At(inner, 30, 17), At(outer, 30, 18),
                         At(inner, 30, 18)}),
                   (Ints{255, 255, 0, 0, 255}));
       }},
      {"21 MorphRing between masks", 200,
       [](Call& c, int) {
         float* para = c.Out(Floats{kWf, kHf, 128, 2, 0, 0, 0, 0});
         c.Img(21, c.In("outer", Rect(20, 20, 40, 30)), c.In("inner", Rect(30, 25, 10, 10)),
               c.Out(Plane()), para, 100, c.In("plane", Scene()));
         EXPECT_GT(para[5], 1000.0f);
         EXPECT_EQ(para[6], 1.0f);
       }},
      {"22 FillContours", 200,
       [](Call& c, int) {
         const Ints polygons = {2, 4, 0, 0, 20, 0, 20, 20, 0, 20, 3, 50, 50, 90, 60, 60, 79};
         float* para = c.Out(Floats{kWf, kHf, 200, static_cast<float>(polygons.size()), 0, 0, 0});
         c.Img(22, c.Out(Plane(9)), para, kNone, c.In("polygons", polygons),
               c.In("source", Scene()));
         EXPECT_EQ(para[5], 2.0f);
       }},
      {"23 DetectEdgesCanny", 200,
       [](Call& c, int) {
         float* result = c.Out(Floats(4));
         c.Img(23, c.In("src", Scene()), c.In("para", Floats{kWf, kHf, 1, 0, 20}), c.Out(Plane()),
               result);
         EXPECT_EQ(result[3], 3.0f);  // the disc, the ring and the rectangle reach 20 pixels
       }},
      {"24 ComputeFlatFieldCoefficients", 100,
       [](Call& c, int) {
         constexpr int w = 16, h = 12;
         Bytes stack(6 * w * h);
         for (std::size_t i = 0; i < stack.size(); ++i)
           stack[i] = static_cast<unsigned char>((i / (w * h) < 3 ? 100 : 180) + i % 7);
         int* cleared = c.Out(Ints{3});
         c.Img(24, c.In("stack", stack),
               c.In("para", Floats{0, 1, w, h, 3, 1.5f, 0.5f, 200, 250, 5}), 0,
               c.Out(Floats(6 * w * h)), cleared);
         EXPECT_EQ(*cleared, 0);
       }},
      {"25 ApplyGainOffset", 200,
       [](Call& c, int) {
         Floats table(2 * Scene().size());  // offsets, then gains
         for (std::size_t i = 0; i < table.size(); ++i) table[i] = 0.5f + static_cast<float>(i % 5);
         U8 dst = c.Out(Bytes(Scene().size()));
         c.Img(25, c.In("src", Scene()), c.In("coefficients", table),
               static_cast<int>(Scene().size()), dst);
         EXPECT_EQ(dst[0], 10);  // trunc(20 * 0.5 + 0.5)
       }},
      {"26 MatchPadTemplates", 20,
       [](Call& c, int) {
         float* scores = c.Out(Floats(64));
         const PadBlobs& blobs = Blobs(c.objects());
         c.Img(26, c.In("plane", PadImage()),
               c.In("para", Floats{kWf, kHf, 1, 0, 0, 0, blobs.count}), kNone, scores,
               c.In("pixels", blobs.pixels), c.In("rects", blobs.rects));
         EXPECT_GT(*std::min_element(scores, scores + 4), 0.99f);
       }},
      {"27 SplitPadBlobs", 50,
       [](Call& c, int) {
         float* grid = c.Out(Floats(2));
         c.Img(27, c.In("plane", PadImage()), c.In("para", Floats{kWf, kHf, 1, 0, 0, 0}), kNone,
               grid, c.Out(Bytes(64 * kW * kH)), c.Out(Ints(4 * 64)));
         EXPECT_EQ(Floats(grid, grid + 2), (Floats{1, 4}));
       }},
      {"28 FindDominantLevels", 200,
       [](Call& c, int) {
         U8 levels = c.Out(Bytes(3));
         c.Img(28, c.In("plane0", Scene()), c.In("plane1", PadImage()),
               c.In("plane2", MarkPlane(true)), kW, kH, levels);
         EXPECT_EQ(Bytes(levels, levels + 3), (Bytes{20, 30, 25}));
       }},
      {"29 FillBlackHoles", 200,
       [](Call& c, int) {
         U8 planes[3], out[3];
         for (int i = 0; i < 3; ++i) {
           cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(120 - 40 * i));
           cv::rectangle(m, cv::Rect(30, 30, 8, 6), 0, -1);
           planes[i] = c.Out(ToBytes(m));
           out[i] = c.Out(Plane());
         }
         // 0 leaves OpenCV's thread count alone (it is process-wide).
         c.Img(29, planes[0], planes[1], planes[2], c.In("para", Floats{kWf, kHf, 120, 80, 40, 0}),
               out[0], out[1], out[2]);
         EXPECT_EQ(Ints({At(out[0], 33, 32), At(out[1], 33, 32), At(out[2], 33, 32)}),
                   (Ints{120, 80, 40}));
       }},
      // Mode 0 (-0.5 truncated) filters, 1.9 is mode 1 and touches nothing, 2 and -1 are refused.
      {"30 Slot30Dispatch", 100,
       [](Call& c, int) {
         Floats heights(kW * kH);
         for (std::size_t i = 0; i < heights.size(); ++i)
           heights[i] = static_cast<float>((i * 37) % 101);
         float* plane = c.Out(heights);
         float* before = c.Out(Floats(kW * kH));
         float* para = c.Out(Floats{-0.5f, kWf, kHf, 5, 0, 1000, 2, 0});
         c.Img(30, plane, before, para);
         EXPECT_EQ(before[1], heights[1]);
         for (const float mode : {1.9f, 2.0f, -1.0f}) {
           para[0] = mode;
           EXPECT_EQ(c.Img(30, plane, before + 1, para), mode == 1.9f ? 0 : -1);
         }
         EXPECT_EQ(before[1], heights[1]);
       }},
      {"31 LoadImagePlanes", 100,
       [](Call& c, int) {
         static const std::string path = [] {
           const std::string p = TempPath("load.png");
           cv::Mat m(kH, kW, CV_8UC3, cv::Scalar(10, 20, 30));
           cv::circle(m, {30, 30}, 12, cv::Scalar(200, 100, 50), -1);
           cv::imwrite(p, m);
           return p;
         }();
         float* para = c.Out(Floats{static_cast<float>(path.size()), 0, 0});
         U8 planes[3] = {};
         c.Img(31, c.In("path", Chars(path)), &planes[0], &planes[1], &planes[2], para);
         EXPECT_EQ(Ints({planes[0][0], planes[1][0], planes[2][0]}), (Ints{30, 20, 10}));
         for (U8 p : planes) {
           c.Extra(p, static_cast<std::size_t>(para[1] * para[2]));
           operator delete(p);
         }
       }},
      {"32 SaveImagePlanes", 50,
       [](Call& c, int worker) {
         const std::string path = TempPath("save" + std::to_string(worker) + ".png");
         c.Img(32, c.In("path", Chars(path), false), c.In("r", Scene()), c.In("g", PadImage()),
               c.In("b", MarkPlane(true)),
               c.In("para", Floats{static_cast<float>(path.size()), kWf, kHf}));
         const cv::Mat saved = cv::imread(path, cv::IMREAD_COLOR);
         EXPECT_EQ(saved.at<cv::Vec3b>(0, 0), cv::Vec3b(25, 30, 20));  // blue, green, red
         c.Extra(saved.data, saved.total() * 3);
       }},
      {"33 ResizePlanes", 200,
       [](Call& c, int) {
         U8 dst[3] = {c.Out(Bytes(50 * 37)), c.Out(Bytes(50 * 37)), c.Out(Bytes(50 * 37))};
         c.Img(33, c.In("src0", Scene()), c.In("src1", PadImage()), c.In("src2", MarkPlane(false)),
               dst[0], dst[1], dst[2], c.In("para", Floats{kWf, kHf, 50, 37, 1}));
         EXPECT_EQ(Ints({dst[0][0], dst[1][0], dst[2][0]}), (Ints{20, 30, 25}));
       }},
      {"34 DrawContourMask", 200,
       [](Call& c, int) {
         float* para = c.Out(Floats{kWf, kHf, 128, 20, 0, 0, 0});
         U8 mask = c.Out(Plane(5));
         c.Img(34, mask, c.In("plane", Scene()), para);
         EXPECT_EQ(para[5], 3.0f);          // the speck is below 20 pixels
         EXPECT_EQ(At(mask, 72, 24), 255);  // the ring's bore is filled
       }},
      {"35 CountingSortValues", 200,
       [](Call& c, int) {
         Ints values(500);
         for (std::size_t i = 0; i < values.size(); ++i)
           values[i] = static_cast<int>((i * 7919) % 613) - 300;
         int* sorted = c.Out(values);
         int* permutation = c.Out(Ints(500));
         c.Img(35, sorted, c.In("para", Floats{500, 1, 0, 1}), permutation);
         EXPECT_TRUE(std::is_sorted(sorted, sorted + 500));
         EXPECT_EQ(sorted[0], values[permutation[0]]);
       }},
      {"N0 InvertPlane", 200,
       [](Call& c, int) {
         U8 plane = c.Out(Scene());
         c.Num(0, plane, c.In("para", Floats{kWf, kHf, 1}), 3);
         EXPECT_EQ(plane[0], 235);
       }},
      {"N1 StepPositionToOffsets", 200,
       [](Call& c, int) {
         float* out = c.Out(Floats(5));
         c.Num(1, c.In("in", Floats{0, 12, 0, 1, 1, 1, 1, 1, 0, 0, 1, 5, 1, 100, 50}), 15, out, 5);
         EXPECT_EQ(Floats(out, out + 5), (Floats{105, 50, 1, 7, 0}));
       }},
      {"N2 InterpolateToTargets", 200,
       [](Call& c, int) {
         float* out = c.Out(Floats(8));
         c.Num(2, c.In("in", Floats{1, 50, 10, 10, 10, 10, 20, 1, 30, 1, 0, 40, 50}), 13, out, 8);
         EXPECT_EQ(Floats(out, out + 2), (Floats{1, 15}));
         EXPECT_EQ(out[7], 30.0f);
       }},
  };
  return rows;
}

inline Outcome RunOnce(const Row& row, Objects& objects, int worker) {
  Call call(objects);
  row.run(call, worker);
  return call.Finish();
}

// A row's name as a test name: "Slot", then its letters and digits.
inline std::string TestName(const ::testing::TestParamInfo<std::size_t>& info) {
  std::string name = Rows()[info.param].name;
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return "Slot" + name;
}

}  // namespace slots

#endif  // IMGTARN_TESTS_SUPPORT_SLOT_CALLS_HPP
