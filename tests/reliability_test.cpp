// Reliability through the public class: operations run concurrently give the serial result,
// inputs are never written, inputs that could loop forever finish, and the contractual
// exceptions leave cleanly (the sanitizer suite runs this file under LeakSanitizer).
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <deque>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "imgtarn/imgtarn.hpp"
#include "support/opencv_threads.hpp"

namespace {

using Bytes = std::vector<unsigned char>;
using Floats = std::vector<float>;
using Ints = std::vector<int>;

constexpr int kW = 96;
constexpr int kH = 80;
constexpr float kWf = static_cast<float>(kW);
constexpr float kHf = static_cast<float>(kH);

struct Release {
  void operator()(ImgTarn_IF* object) const { ImgTarn_IFRelease(object); }
  void operator()(NFunction_IF* object) const { NFunction_IFRelease(object); }
};
using Object = std::unique_ptr<ImgTarn_IF, Release>;
Object NewObject() { return Object(ImgTarn_IFCreate()); }

// Both objects, so that one table holds every operation of the library.
struct Objects {
  Object img{ImgTarn_IFCreate()};
  std::unique_ptr<NFunction_IF, Release> num{NFunction_IFCreate()};
};

struct Outcome {
  int status = 0;
  Bytes outputs;        // every buffer of the call after it returned, concatenated
  std::string changed;  // names of input buffers that differ after the call
};

// The host's buffers of one call. In() buffers are the operation's inputs: a copy is kept and
// Finish() names those that changed. Out() buffers may be written. Every buffer (inputs too,
// unless they differ per worker by design) and any Extra() bytes make up the outputs that
// concurrent runs must reproduce.
class Call {
 public:
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
  Outcome Finish(int status) const {
    Outcome o;
    o.status = status;
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
  template <typename T>
  T* Keep(const char* name, std::vector<T> values, bool compared) {
    auto owned = std::make_shared<std::vector<T>>(std::move(values));
    const auto* data = reinterpret_cast<const unsigned char*>(owned->data());
    const std::size_t bytes = owned->size() * sizeof(T);
    buffers_.push_back(
        {name, owned, data, bytes, compared, name ? Bytes(data, data + bytes) : Bytes()});
    return owned->data();
  }
  std::deque<Buffer> buffers_;
  Bytes extra_;
};

Bytes ToBytes(const cv::Mat& m) { return Bytes(m.datastart, m.dataend); }

// A board: a bright disc (r = 12), a ring, a rectangle and a small speck on dark ground.
const Bytes& Scene() {
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

// A plus-shaped mark (half size 15) or a rectangle (half size 20 x 12) at the plane's centre.
Bytes MarkPlane(bool cross) {
  cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(25));
  if (cross) {
    cv::rectangle(m, cv::Rect(33, 35, 30, 10), cv::Scalar(220), cv::FILLED);
    cv::rectangle(m, cv::Rect(43, 25, 10, 30), cv::Scalar(220), cv::FILLED);
  } else {
    cv::rectangle(m, cv::Rect(28, 28, 40, 24), cv::Scalar(220), cv::FILLED);
  }
  return ToBytes(m);
}

Bytes Rect(int x, int y, int w, int h) {
  cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(0));
  cv::rectangle(m, cv::Rect(x, y, w, h), cv::Scalar(255), cv::FILLED);
  return ToBytes(m);
}

// The lead template: the scene's rectangle with a margin of board.
Bytes LeadTemplate() {
  cv::Mat scene(kH, kW, CV_8UC1, const_cast<unsigned char*>(Scene().data()));
  return ToBytes(scene(cv::Rect(46, 46, 38, 26)).clone());
}

std::string TempPath(const std::string& name) {
  return testing::TempDir() + "imgtarn_reliability_" + name;
}

Bytes Plane(unsigned char value = 0) { return Bytes(kW * kH, value); }

Bytes Chars(const std::string& text) { return Bytes(text.begin(), text.end()); }

Bytes PadImage() {
  cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(30));
  for (int i = 0; i < 4; ++i)
    cv::rectangle(m, cv::Rect(8 + 22 * i, 30, 12, 20), cv::Scalar(220), -1);
  return ToBytes(m);
}

// Slot 27's blobs of the pad image, the templates slot 26 scores against.
struct PadBlobs {
  Bytes pixels = Bytes(64 * kW * kH, 0);
  Ints rects = Ints(4 * 64, 0);
  float count = 0;
};
const PadBlobs& Blobs() {
  static const PadBlobs blobs = [] {
    PadBlobs b;
    Bytes plane = PadImage();
    float para[6] = {kWf, kHf, 1, 0, 0, 0}, grid[2] = {0, 0};
    NewObject()->SplitPadBlobs(plane.data(), para, nullptr, grid, b.pixels.data(), b.rects.data());
    b.count = grid[0] * grid[1];
    return b;
  }();
  return blobs;
}

// A host-style para array of `size` floats starting with `head`.
Floats Para(Floats head, std::size_t size) {
  head.resize(size, 0.0f);
  return head;
}

struct NamedOperation {
  const char* name;
  int callsPerThread;  // 200, fewer for the slow searches so the test stays short
  std::function<int(Objects&, Call&, int worker)> run;
};

// A table row whose operation is the single call `call`, on the objects `o` with the
// buffers of `c`.
#define OPERATION(name, calls, call)                           \
  NamedOperation {                                             \
    name, calls, [](Objects& o, Call& c, int) { return call; } \
  }

// Slots 2, 4 and 5 always show a window and every other slot's debug output is off here;
// slot 0 does nothing.
const std::vector<NamedOperation>& Operations() {
  using O = Objects;
  static const std::vector<NamedOperation> ops = {
      {"1 SumFirstTwoSamples", 200,
       [](O& o, Call& c, int) {
         struct {
           void* unused;
           unsigned char* samples;
         } record{nullptr, c.In("samples", Bytes{200, 100})};
         return o.img->SumFirstTwoSamples(&record);
       }},
      OPERATION("3 DetectCirclesSmoothed", 50, o.img->DetectCirclesSmoothed(c.In("plane", Scene()),
                c.In("para", Floats{kWf, kHf, 12, 60, 0}), 5, c.Out(Floats(3)))),
      OPERATION("10 LocateCircleMarkQuick", 20, o.img->LocateCircleMarkQuick(c.In("plane", Scene()),
                c.In("para", Floats{kWf, kHf, 12, 0, 0}), nullptr, c.Out(Floats(3)))),
      OPERATION("11 LocateCircleMark", 20, o.img->LocateCircleMark(c.In("plane", Scene()),
                c.In("para", Floats{kWf, kHf, 12, 0, 0}), nullptr, c.Out(Floats(3)))),
      OPERATION("12 LocateCircleMarkRoi", 20, o.img->LocateCircleMarkRoi(c.In("plane", Scene()),
                c.In("para", Floats{kWf, kHf, 12, 0, 0}), nullptr, c.Out(Floats(3)))),
      OPERATION("17 AdjustCircleEdges", 200, o.img->AdjustCircleEdges(c.In("plane", Scene()),
                c.In("para", Floats{kWf, kHf, 31, 29, 12}), nullptr, c.Out(Floats(5)))),
      OPERATION("14 LocateCrossMark", 20, o.img->LocateCrossMark(c.In("plane", MarkPlane(true)),
                c.In("para", Floats{kWf, kHf, 15, 15, 0}), nullptr, c.Out(Floats(4)))),
      OPERATION("18 LocateRectangleMark", 20,
                o.img->LocateRectangleMark(c.In("plane", MarkPlane(false)),
                c.In("para", Floats{kWf, kHf, 20, 12, 0}), nullptr, c.Out(Floats(4)))),
      OPERATION("19 CountContourPixels", 200, o.img->CountContourPixels(c.In("plane", Scene()),
                c.In("para", Floats{kWf, kHf, 128, 0, 0, 8}), nullptr, c.Out(Floats(10)))),
      OPERATION("6 DrawContoursAllExternal", 200,
                o.img->DrawContoursAllExternal(c.In("source", Scene()),
                c.Out(Floats{kWf, kHf, 128, 1, 0, 255, 100, 50, 0}), c.Out(Plane(1)),
                c.Out(Plane(2)), c.Out(Plane(3)))),
      OPERATION("7 ClassifyRingContours", 200, o.img->ClassifyRingContours(c.Out(Plane()),
                c.Out(Plane()), c.Out(Floats(32)),
                c.Out(Floats{kWf, kHf, 128, 5, 0, 4, 8, 8, 0, 0, 0}), c.Out(Floats(32)),
                c.In("plane", Scene()))),
      OPERATION("8 MorphBoundingRects", 200, o.img->MorphBoundingRects(c.In("source", Scene()),
                c.Out(Para({kWf, kHf, 128, 1, 0, 1, 16}, 8 + 4 * 16)))),
      OPERATION("9 SegmentByMoments", 200, o.img->SegmentByMoments(c.In("plane", Scene()),
                c.In("mask", Rect(0, 0, 60, 80)), c.In("para", Floats{kWf, kHf, 128, 10, 0, 32}),
                c.Out(Plane()), c.Out(Floats(1 + 3 * 32)))),
      OPERATION("13 CutLeadRois", 100, o.img->CutLeadRois(c.In("image", Scene()),
                c.In("template", LeadTemplate()), nullptr,
                c.Out(Para({kWf, kHf, 38, 26, 0, 8, 0.5f}, 19)))),
      OPERATION("16 MeasureLeadRoi", 100, o.img->MeasureLeadRoi(c.In("image", Scene()),
                c.In("template", LeadTemplate()),
                c.In("para", Floats{kWf, kHf, 38, 26, 0, 8, 0.5f, 64.5f, 58.5f, 1.5f, 120}),
                c.Out(Floats(10)))),
      OPERATION("15 ApproxContoursDemo", 200, o.img->ApproxContoursDemo(c.In("source", Scene()),
                c.In("para", Floats{kWf, kHf, 128, 2, 0, 16}), c.Out(Plane(7)), c.Out(Floats(17)))),
      OPERATION("20 FollowCadOverlay", 50,
                o.img->FollowCadOverlay(c.In("boundary", Rect(10, 10, 70, 60)),
                c.In("cad", Rect(30, 30, 20, 16)), c.In("measured", Rect(33, 32, 18, 16)),
                c.In("para", Floats{kWf, kHf, 0}), nullptr, c.Out(Floats{-1}))),
      OPERATION("21 MorphRing band", 200, o.img->MorphRing(c.Out(Plane()), c.Out(Plane()),
                c.Out(Plane()), c.Out(Floats{kWf, kHf, 128, 2, 0, 0, 0, 0}), 0,
                c.In("plane", Scene()))),
      OPERATION("21 MorphRing between masks", 200,
                o.img->MorphRing(c.In("outer", Rect(20, 20, 40, 30)),
                c.In("inner", Rect(30, 25, 10, 10)), c.Out(Plane()),
                c.Out(Floats{kWf, kHf, 128, 2, 0, 0, 0, 0}), 100, c.In("plane", Scene()))),
      {"22 FillContours", 200,
       [](O& o, Call& c, int) {
         const Ints polygons = {2, 4, 0, 0, 20, 0, 20, 20, 0, 20, 3, 50, 50, 90, 60, 60, 79};
         const float length = static_cast<float>(polygons.size());
         return o.img->FillContours(c.Out(Plane(9)),
                                    c.Out(Floats{kWf, kHf, 200, length, 0, 0, 0}), nullptr,
                                    c.In("polygons", polygons), c.In("source", Scene()));
       }},
      OPERATION("23 DetectEdgesCanny", 200, o.img->DetectEdgesCanny(c.In("src", Scene()),
                c.In("para", Floats{kWf, kHf, 1, 0, 20}), c.Out(Plane()), c.Out(Floats(4)))),
      {"24 ComputeFlatFieldCoefficients", 100,
       [](O& o, Call& c, int) {
         constexpr int w = 16, h = 12;
         Bytes stack(6 * w * h);
         for (std::size_t i = 0; i < stack.size(); ++i)
           stack[i] = static_cast<unsigned char>((i / (w * h) < 3 ? 100 : 180) + i % 7);
         return o.img->ComputeFlatFieldCoefficients(
             c.In("stack", stack), c.In("para", Floats{0, 1, w, h, 3, 1.5f, 0.5f, 200, 250, 5}), 0,
             c.Out(Floats(6 * w * h)), c.Out(Ints{3}));
       }},
      {"25 ApplyGainOffset", 200,
       [](O& o, Call& c, int) {
         Floats table(2 * Scene().size());
         for (std::size_t i = 0; i < table.size(); ++i) table[i] = 0.5f + (i % 5);
         return o.img->ApplyGainOffset(c.In("src", Scene()), c.In("coefficients", table),
                                       static_cast<int>(Scene().size()),
                                       c.Out(Bytes(Scene().size())));
       }},
      OPERATION("26 MatchPadTemplates", 20, o.img->MatchPadTemplates(c.In("plane", PadImage()),
                c.In("para", Floats{kWf, kHf, 1, 0, 0, 0, Blobs().count}), nullptr,
                c.Out(Floats(64)), c.In("pixels", Blobs().pixels), c.In("rects", Blobs().rects))),
      OPERATION("27 SplitPadBlobs", 50, o.img->SplitPadBlobs(c.In("plane", PadImage()),
                c.In("para", Floats{kWf, kHf, 1, 0, 0, 0}), nullptr, c.Out(Floats(2)),
                c.Out(Bytes(64 * kW * kH)), c.Out(Ints(4 * 64)))),
      OPERATION("28 FindDominantLevels", 200, o.img->FindDominantLevels(c.In("a1", Scene()),
                c.In("a2", PadImage()), c.In("a3", MarkPlane(true)), kW, kH, c.Out(Bytes(3)))),
      {"29 FillBlackHoles", 200,
       [](O& o, Call& c, int) {
         unsigned char* planes[3];
         for (int i = 0; i < 3; ++i) {
           cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(120 - 40 * i));
           cv::rectangle(m, cv::Rect(30, 30, 8, 6), 0, -1);
           planes[i] = c.Out(ToBytes(m));
         }
         // 0 leaves OpenCV's thread count alone (it is process-wide).
         return o.img->FillBlackHoles(
             planes[0], planes[1], planes[2], c.In("para", Floats{kWf, kHf, 120, 80, 40, 0}),
             c.Out(Plane()), c.Out(Plane()), c.Out(Plane()));
       }},
      {"30 Slot30Dispatch median", 100,
       [](O& o, Call& c, int) {
         Floats heights(kW * kH);
         for (std::size_t i = 0; i < heights.size(); ++i)
           heights[i] = static_cast<float>((i * 37) % 101);
         return o.img->Slot30Dispatch(c.Out(heights), c.Out(Floats(kW * kH)),
                                      c.In("para", Floats{0, kWf, kHf, 5, 0, 1000, 2, 0}));
       }},
      {"31 LoadImagePlanes", 100,
       [](O& o, Call& c, int) {
         static const std::string path = [] {
           const std::string p = TempPath("load.png");
           cv::Mat m(kH, kW, CV_8UC3, cv::Scalar(10, 20, 30));
           cv::circle(m, {30, 30}, 12, cv::Scalar(200, 100, 50), -1);
           cv::imwrite(p, m);
           return p;
         }();
         float* para = c.Out(Floats{static_cast<float>(path.size()), 0, 0});
         unsigned char* planes[3] = {};
         const int status = o.img->LoadImagePlanes(c.In("path", Chars(path)), &planes[0],
                                                   &planes[1], &planes[2], para);
         for (unsigned char* p : planes) {
           c.Extra(p, static_cast<std::size_t>(para[1] * para[2]));
           operator delete(p);
         }
         return status;
       }},
      {"32 SaveImagePlanes", 50,
       [](O& o, Call& c, int worker) {
         const std::string path = TempPath("save" + std::to_string(worker) + ".png");
         const int status = o.img->SaveImagePlanes(
             c.In("path", Chars(path), false), c.In("r", Scene()), c.In("g", PadImage()),
             c.In("b", MarkPlane(true)),
             c.In("para", Floats{static_cast<float>(path.size()), kWf, kHf}));
         const Bytes saved = ToBytes(cv::imread(path, cv::IMREAD_COLOR));
         c.Extra(saved.data(), saved.size());
         return status;
       }},
      OPERATION("33 ResizePlanes", 200, o.img->ResizePlanes(c.In("a1", Scene()),
                c.In("a2", PadImage()), c.In("a3", MarkPlane(false)), c.Out(Bytes(50 * 37)),
                c.Out(Bytes(50 * 37)), c.Out(Bytes(50 * 37)),
                c.In("para", Floats{kWf, kHf, 50, 37, 1}))),
      OPERATION("34 DrawContourMask", 200, o.img->DrawContourMask(c.Out(Plane(5)),
                c.In("plane", Scene()), c.Out(Floats{kWf, kHf, 128, 20, 0, 0, 0}))),
      {"35 CountingSortValues", 200,
       [](O& o, Call& c, int) {
         Ints values(500);
         for (std::size_t i = 0; i < values.size(); ++i)
           values[i] = static_cast<int>((i * 7919) % 613) - 300;
         return o.img->CountingSortValues(c.Out(values), c.In("para", Floats{500, 1, 0, 1}),
                                          c.Out(Ints(500)));
       }},
      // The numeric object's slots are pure functions of their arrays.
      OPERATION("N0 InvertPlane", 200, o.num->InvertPlane(c.Out(Scene()),
                c.In("para", Floats{kWf, kHf, 1}), 3)),
      {"N1 StepPositionToOffsets", 200,
       [](O& o, Call& c, int) {
         const Floats in = {10, 3.5f, -2.5f, 1, 1, 0.5f, 0.5f, 0, 1, 1, 1, 2, 1, 100, 200};
         return o.num->StepPositionToOffsets(c.In("in", in), 15, c.Out(Floats(5)), 5);
       }},
      {"N2 InterpolateToTargets", 200,
       [](O& o, Call& c, int) {
         const Floats in = {1, 50, 10, 20, 30, 40, 12, 1, 25, 1, 0, 35, 45};
         return o.num->InterpolateToTargets(c.In("in", in), 13, c.Out(Floats(8)), 8);
       }},
  };
  return ops;
}

Outcome RunOnce(const NamedOperation& op, Objects& objects, int worker) {
  Call call;
  const int status = op.run(objects, call, worker);
  return call.Finish(status);
}

class EveryOperation : public testing::TestWithParam<std::size_t> {
 protected:
  const NamedOperation& Op() const { return Operations()[GetParam()]; }
};

TEST_P(EveryOperation, GivesTheSerialResultFromEightThreadsAtOnce) {
  Objects serialObjects;
  const Outcome serial = RunOnce(Op(), serialObjects, 0);
  constexpr int kThreads = 8;
  std::vector<int> mismatches(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      Objects objects;
      for (int i = 0; i < Op().callsPerThread; ++i) {
        const Outcome o = RunOnce(Op(), objects, t);
        if (o.status != serial.status || o.outputs != serial.outputs) ++mismatches[t];
      }
    });
  }
  for (std::thread& t : threads) t.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << Op().name << " thread " << t;
}

TEST_P(EveryOperation, LeavesItsInputsUnchanged) {
  Objects objects;
  EXPECT_EQ(RunOnce(Op(), objects, 0).changed, "") << Op().name;
}

INSTANTIATE_TEST_SUITE_P(Reliability, EveryOperation,
                         testing::Range<std::size_t>(0, Operations().size()),
                         [](const testing::TestParamInfo<std::size_t>& row) {
                           std::string name = Operations()[row.param].name;
                           for (char& c : name)
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           return "Slot" + name;
                         });

// ---------------------------------------------------------------------------------------
// Watchdogs: inputs that could loop forever must return. The call runs on its own thread;
// a call still running after the limit fails the test (the thread is then left behind).

bool FinishesInTime(std::function<void()> call) {
  auto done = std::make_shared<std::promise<void>>();
  std::future<void> finished = done->get_future();
  std::thread([call, done] {
    call();
    done->set_value();
  }).detach();
  return finished.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

struct HangCandidate {
  std::string name;
  std::function<void()> call;
};

std::vector<HangCandidate> HangCandidates() {
  std::vector<HangCandidate> cases;
  for (const auto& [w, h] : std::vector<std::pair<int, int>>{
           {1, 1}, {1, 50}, {50, 1}, {2, 19}, {19, 2}, {20, 1}, {1, 21}}) {
    cases.push_back({"29 narrow " + std::to_string(w) + " x " + std::to_string(h), [w = w, h = h] {
                       Bytes r(w * h, 0), g(w * h, 0), b(w * h, 0), o(w * h);
                       float para[6] = {static_cast<float>(w), static_cast<float>(h), 0, 0, 0, 0};
                       NewObject()->FillBlackHoles(r.data(), g.data(), b.data(), para, o.data(),
                                                   o.data(), o.data());
                     }});
  }
  cases.push_back({"20 boundary without outside", [] {
                     Bytes boundary(kW * kH, 255), cad = Rect(30, 30, 20, 16);
                     Bytes measured = Rect(10, 12, 8, 40);
                     float para[3] = {kWf, kHf, 0}, score = -1;
                     NewObject()->FollowCadOverlay(boundary.data(), cad.data(), measured.data(),
                                                   para, nullptr, &score);
                   }});
  // 2147483520 is the largest float below 2^31; 2^31 itself reads as INT_MIN.
  for (float k : {2147483520.0f, 16777215.0f, 65537.0f, 2147483648.0f, -2147483520.0f}) {
    cases.push_back({"24 window " + std::to_string(k), [k] {
                       constexpr int w = 8, h = 6;
                       Bytes stack(6 * w * h, 100);
                       float para[10] = {0, 1, w, h, k, 1.5f, 0.5f, 200, 250, 5};
                       Floats table(6 * w * h);
                       int a5 = 0;
                       NewObject()->ComputeFlatFieldCoefficients(stack.data(), para, 0,
                                                                 table.data(), &a5);
                     }});
    cases.push_back({"30 window " + std::to_string(k), [k] {
                       Floats heights(8 * 6, 3.0f), filtered(8 * 6);
                       float para[8] = {0, 8, 6, k, 0, 1000, 2, 1};
                       NewObject()->Slot30Dispatch(heights.data(), filtered.data(), para);
                     }});
  }
  cases.push_back({"35 whole int range", [] {
                     Ints values = {INT_MAX, INT_MIN, 0, INT_MIN}, permutation(4);
                     float para[4] = {4, 1, 0, 1};
                     NewObject()->CountingSortValues(values.data(), para, permutation.data());
                     EXPECT_EQ(values, (Ints{INT_MIN, INT_MIN, 0, INT_MAX}));
                   }});
  cases.push_back(
      {"22 polygons at the coordinate limit", [] {
         constexpr int kFar = 1 << 24;
         Ints polygons = {1, 4, -kFar, -kFar, kFar, -kFar, kFar, kFar, -kFar, kFar};
         Bytes target(kW * kH, 0);
         float para[7] = {kWf, kHf, 255, static_cast<float>(polygons.size()), 0, 0, 0};
         EXPECT_EQ(
             NewObject()->FillContours(target.data(), para, nullptr, polygons.data(), nullptr), 0);
         EXPECT_EQ(target, Bytes(kW * kH, 255));
       }});
  return cases;
}

TEST(NoHang, EveryCandidateReturns) {
  for (const HangCandidate& c : HangCandidates()) EXPECT_TRUE(FinishesInTime(c.call)) << c.name;
}

// A window larger than the plane reaches the whole plane: clipping it first changes nothing.
TEST(NoHang, AHugeMedianWindowEqualsOneCoveringThePlane) {
  Object obj = NewObject();
  Floats heights(8 * 6), filtered(8 * 6);
  for (std::size_t i = 0; i < heights.size(); ++i) heights[i] = static_cast<float>(i % 11);
  Floats covering = heights, huge = heights;
  float paraCovering[8] = {0, 8, 6, 17, 0, 1000, 2, 1};
  float paraHuge[8] = {0, 8, 6, 2147483520.0f, 0, 1000, 2, 1};
  obj->Slot30Dispatch(covering.data(), filtered.data(), paraCovering);
  obj->Slot30Dispatch(huge.data(), filtered.data(), paraHuge);
  EXPECT_EQ(covering, huge);
}

// ---------------------------------------------------------------------------------------
// A sample of the README's "Bad input" table. (The contractual exceptions are checked through
// the raw table in host_test.cpp.)

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(BadInput, NullPlanesAndParaAreRefused) {
  Object obj = NewObject();
  float para[5] = {kWf, kHf, 12, 60, 0}, result[5] = {7, 7, 7, 7, 7};
  EXPECT_EQ(obj->DetectCirclesSmoothed(nullptr, para, 5, result), -1);
  EXPECT_EQ(obj->AdjustCircleEdges(nullptr, para, nullptr, result), -1);
  EXPECT_EQ(result[4], 7.0f);  // untouched
  Bytes scene = Scene();
  float counts[3] = {7, 7, 7};
  EXPECT_EQ(obj->CountContourPixels(scene.data(), nullptr, nullptr, counts), -1);
  EXPECT_EQ(counts[0], 7.0f);
  float edges[5] = {kWf, kHf, 0, 0, 0};
  Bytes plane = Scene(), chars = Chars("a.png");
  EXPECT_EQ(obj->DetectEdgesCanny(plane.data(), edges, nullptr, result), -1);
  float save[3] = {5, kWf, kHf};
  EXPECT_EQ(obj->SaveImagePlanes(chars.data(), plane.data(), nullptr, plane.data(), save), -1);
}

TEST(BadInput, NaNOrNegativeSizesAreRefused) {
  Object obj = NewObject();
  Bytes plane = Scene(), dst(plane.size(), 9);
  float result[4] = {7, 7, 7, 7};
  for (float bad : {kNaN, 0.0f, -5.0f}) {
    float marks[5] = {kWf, bad, 12, 0, 0};
    EXPECT_EQ(obj->LocateCircleMark(plane.data(), marks, nullptr, result), -1) << bad;
    EXPECT_EQ(result[0], 0.0f);
    float edges[5] = {bad, kHf, 0, 0, 0};
    EXPECT_EQ(obj->DetectEdgesCanny(plane.data(), edges, dst.data(), result), -1) << bad;
    float overlay[3] = {bad, kHf, 0}, score = 7;
    EXPECT_EQ(
        obj->FollowCadOverlay(plane.data(), plane.data(), plane.data(), overlay, nullptr, &score),
        -1);
    EXPECT_EQ(score, 0.0f);
    float resize[5] = {kWf, kHf, bad, 10, 0};
    EXPECT_EQ(obj->ResizePlanes(plane.data(), plane.data(), plane.data(), dst.data(), dst.data(),
                                dst.data(), resize),
              -1);
  }
  EXPECT_EQ(dst, Bytes(plane.size(), 9));  // nothing written by any refusal
}

// A tolerance out of the 32-bit range reads as INT_MIN, which is not above 2: t = 5. One in
// range but far beyond the plane searches every radius the plane can hold.
TEST(BadInput, SlotThreeToleranceOutOfRangeIsFiveAndAHugeOneStaysBounded) {
  Object obj = NewObject();
  Bytes plane = Scene();
  const auto detect = [&](float tolerance) {
    float para[10] = {kWf, kHf, 12, 60, 0, 0, 0, 0, 0, tolerance};
    Floats result(3, 7.0f);
    EXPECT_EQ(obj->DetectCirclesSmoothed(plane.data(), para, 10, result.data()), 0) << tolerance;
    return result;
  };
  const Floats five = detect(5);
  ASSERT_NEAR(five[0], 30, 1.5);
  for (float t : {3e9f, 1e30f, std::numeric_limits<float>::infinity(), 2147483648.0f})
    EXPECT_EQ(detect(t), five) << t;
  for (float t : {1e9f, 2147483520.0f}) {
    Floats result;
    ASSERT_NO_THROW(result = detect(t)) << t;
    EXPECT_NE(result[0], 7.0f) << t;
  }
}

TEST(BadInput, NaNParameters) {
  Object obj = NewObject();
  Bytes plane = Scene();
  float marks[5] = {kWf, kHf, kNaN, 0, 0}, result[4] = {7, 7, 7, 7};
  EXPECT_EQ(obj->LocateCircleMarkQuick(plane.data(), marks, nullptr, result), -1);
  Floats heights(16, 1.0f), filtered(16);
  float median[8] = {kNaN, 4, 4, 3, 0, 10, 2, 0};
  EXPECT_EQ(obj->Slot30Dispatch(heights.data(), filtered.data(), median), -1);
  // A NaN K reads as INT_MIN: writing stops after the first value's run.
  Ints values = {5, 3, 3, 9}, permutation(4, -1);
  float sort[4] = {4, 1, kNaN, 1};
  EXPECT_EQ(obj->CountingSortValues(values.data(), sort, permutation.data()), 0);
  EXPECT_EQ(values, (Ints{3, 3, 3, 9}));
  EXPECT_EQ(permutation, (Ints{1, 2, -1, -1}));
  float pads[7] = {kWf, kHf, 1, 0, 0, 0, kNaN}, scores[2] = {7, 7};
  Bytes pixels(4);
  Ints rects(4, 2);
  EXPECT_EQ(
      obj->MatchPadTemplates(plane.data(), pads, nullptr, scores, pixels.data(), rects.data()), 0);
  EXPECT_EQ(scores[0], 0.0f);
  EXPECT_EQ(scores[1], 7.0f);
}

}  // namespace
