// Reliability through the public class: operations run concurrently give the serial result,
// inputs are never written, inputs that could loop forever finish, and the contractual
// exceptions leave cleanly (the sanitizer suite runs this file under LeakSanitizer).
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "imgtarn/imgtarn.hpp"

namespace {

using Bytes = std::vector<unsigned char>;

// scripts/test-threads runs OpenCV's own loops on the calling thread: its worker pool (TBB)
// synchronises in uninstrumented code, which ThreadSanitizer cannot see.
const bool kOpenCvThreadsSet = [] {
  if (const char* threads = std::getenv("IMGTARN_TEST_OPENCV_THREADS"))
    cv::setNumThreads(std::atoi(threads));
  return true;
}();

constexpr int kW = 96;
constexpr int kH = 80;
constexpr float kWf = static_cast<float>(kW);
constexpr float kHf = static_cast<float>(kH);

struct Release {
  void operator()(ImgTarn_IF* object) const { ImgTarn_IFRelease(object); }
  void operator()(NFunction_IF* object) const { NFunction_IFRelease(object); }
};
using Object = std::unique_ptr<ImgTarn_IF, Release>;
using NumericObject = std::unique_ptr<NFunction_IF, Release>;
Object NewObject() { return Object(ImgTarn_IFCreate()); }
NumericObject NewNumericObject() { return NumericObject(NFunction_IFCreate()); }

struct Outcome {
  int status = 0;
  Bytes outputs;         // every output the operation wrote, concatenated
  std::string changed;   // names of input buffers that differ after the call
};

// Records the host's input buffers before a call and names those that changed after it.
class Inputs {
 public:
  void Add(const char* name, const void* data, std::size_t bytes) {
    const auto* p = static_cast<const unsigned char*>(data);
    entries_.push_back({name, p, Bytes(p, p + bytes)});
  }
  template <typename T>
  void Add(const char* name, const std::vector<T>& v) {
    Add(name, v.data(), v.size() * sizeof(T));
  }
  std::string Changed() const {
    std::string names;
    for (const Entry& e : entries_)
      if (std::memcmp(e.data, e.copy.data(), e.copy.size()) != 0) names += e.name + " ";
    return names;
  }

 private:
  struct Entry {
    std::string name;
    const unsigned char* data;
    Bytes copy;
  };
  std::vector<Entry> entries_;
};

template <typename T>
void Append(Bytes* out, const T* data, std::size_t count) {
  const auto* p = reinterpret_cast<const unsigned char*>(data);
  out->insert(out->end(), p, p + count * sizeof(T));
}
template <typename T>
void Append(Bytes* out, const std::vector<T>& v) {
  Append(out, v.data(), v.size());
}

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

struct PadBlobs {
  Bytes pixels;
  std::vector<int> rects;
  float count = 0;
};

Bytes PadImage() {
  cv::Mat m(kH, kW, CV_8UC1, cv::Scalar(30));
  for (int i = 0; i < 4; ++i) cv::rectangle(m, cv::Rect(8 + 22 * i, 30, 12, 20), cv::Scalar(220), -1);
  return ToBytes(m);
}

// Slot 27's blobs of the pad image, the templates slot 26 scores against.
const PadBlobs& Blobs() {
  static const PadBlobs blobs = [] {
    Object object = NewObject();
    PadBlobs b;
    b.pixels.assign(64 * kW * kH, 0);
    b.rects.assign(4 * 64, 0);
    Bytes plane = PadImage();
    float para[6] = {kWf, kHf, 1, 0, 0, 0}, grid[2] = {0, 0};
    object->SplitPadBlobs(plane.data(), para, nullptr, grid, b.pixels.data(), b.rects.data());
    b.count = grid[0] * grid[1];
    return b;
  }();
  return blobs;
}

using Operation = std::function<Outcome(ImgTarn_IF*, int worker)>;

struct NamedOperation {
  const char* name;
  int callsPerThread;  // 200, fewer for the slow searches so the test stays short
  Operation run;
};

// Runs a plane-in, fixed-size-result operation: checks the plane and para, returns the result.
template <typename Call>
Outcome PlaneAndPara(Bytes plane, std::vector<float> para, std::size_t results, Call call) {
  Outcome o;
  std::vector<float> result(results, 0.0f);
  Inputs in;
  in.Add("plane", plane);
  in.Add("para", para);
  o.status = call(plane.data(), para.data(), result.data());
  o.changed = in.Changed();
  Append(&o.outputs, result);
  return o;
}

std::vector<NamedOperation> Operations() {
  std::vector<NamedOperation> ops;
  ops.push_back({"1 SumFirstTwoSamples", 200, [](ImgTarn_IF* obj, int) {
                   Bytes samples = {200, 100};
                   struct Record {
                     void* unused;
                     unsigned char* samples;
                   } record{nullptr, samples.data()};
                   Inputs in;
                   in.Add("samples", samples);
                   Outcome o;
                   o.status = obj->SumFirstTwoSamples(&record);
                   o.changed = in.Changed();
                   return o;
                 }});
  ops.push_back({"3 DetectCirclesSmoothed", 50, [](ImgTarn_IF* obj, int) {
                   return PlaneAndPara(Scene(), {kWf, kHf, 12, 60, 0}, 3,
                                       [&](unsigned char* p, float* para, float* r) {
                                         return obj->DetectCirclesSmoothed(p, para, 5, r);
                                       });
                 }});
  for (int slot : {10, 11, 12}) {
    const char* name = slot == 10 ? "10 LocateCircleMarkQuick"
                                  : slot == 11 ? "11 LocateCircleMark" : "12 LocateCircleMarkRoi";
    ops.push_back({name, 20, [slot](ImgTarn_IF* obj, int) {
                     return PlaneAndPara(Scene(), {kWf, kHf, 12, 0, 0}, 3,
                                         [&](unsigned char* p, float* para, float* r) {
                                           if (slot == 10)
                                             return obj->LocateCircleMarkQuick(p, para, nullptr, r);
                                           if (slot == 11)
                                             return obj->LocateCircleMark(p, para, nullptr, r);
                                           return obj->LocateCircleMarkRoi(p, para, nullptr, r);
                                         });
                   }});
  }
  ops.push_back({"17 AdjustCircleEdges", 200, [](ImgTarn_IF* obj, int) {
                   return PlaneAndPara(Scene(), {kWf, kHf, 31, 29, 12}, 5,
                                       [&](unsigned char* p, float* para, float* r) {
                                         return obj->AdjustCircleEdges(p, para, nullptr, r);
                                       });
                 }});
  ops.push_back({"14 LocateCrossMark", 20, [](ImgTarn_IF* obj, int) {
                   return PlaneAndPara(MarkPlane(true), {kWf, kHf, 15, 15, 0}, 4,
                                       [&](unsigned char* p, float* para, float* r) {
                                         return obj->LocateCrossMark(p, para, nullptr, r);
                                       });
                 }});
  ops.push_back({"18 LocateRectangleMark", 20, [](ImgTarn_IF* obj, int) {
                   return PlaneAndPara(MarkPlane(false), {kWf, kHf, 20, 12, 0}, 4,
                                       [&](unsigned char* p, float* para, float* r) {
                                         return obj->LocateRectangleMark(p, para, nullptr, r);
                                       });
                 }});
  ops.push_back({"6 DrawContoursAllExternal", 200, [](ImgTarn_IF* obj, int) {
                   Bytes source = Scene(), t0(kW * kH, 1), t1(kW * kH, 2), t2(kW * kH, 3);
                   std::vector<float> para = {kWf, kHf, 128, 1, 0, 255, 100, 50, 0};
                   Inputs in;
                   in.Add("source", source);
                   Outcome o;
                   o.status = obj->DrawContoursAllExternal(source.data(), para.data(), t0.data(),
                                                           t1.data(), t2.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, t0), Append(&o.outputs, t1), Append(&o.outputs, t2);
                   Append(&o.outputs, para);
                   return o;
                 }});
  ops.push_back({"7 ClassifyRingContours", 200, [](ImgTarn_IF* obj, int) {
                   Bytes source = Scene(), rings(kW * kH), solids(kW * kH);
                   std::vector<float> para = {kWf, kHf, 128, 5, 0, 4, 8, 8, 0, 0, 0};
                   std::vector<float> ringList(32), solidList(32);
                   Inputs in;
                   in.Add("plane", source);
                   Outcome o;
                   o.status = obj->ClassifyRingContours(rings.data(), solids.data(),
                                                        solidList.data(), para.data(),
                                                        ringList.data(), source.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, rings), Append(&o.outputs, solids);
                   Append(&o.outputs, ringList), Append(&o.outputs, solidList);
                   Append(&o.outputs, para);
                   return o;
                 }});
  ops.push_back({"8 MorphBoundingRects", 200, [](ImgTarn_IF* obj, int) {
                   Bytes source = Scene();
                   std::vector<float> para(8 + 4 * 16, 0.0f);
                   para[0] = kWf, para[1] = kHf, para[2] = 128, para[3] = 1, para[5] = 1;
                   para[6] = 16;
                   Inputs in;
                   in.Add("source", source);
                   Outcome o;
                   o.status = obj->MorphBoundingRects(source.data(), para.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, para);
                   return o;
                 }});
  ops.push_back({"9 SegmentByMoments", 200, [](ImgTarn_IF* obj, int) {
                   Bytes source = Scene(), mask = Rect(0, 0, 60, 80), labels(kW * kH);
                   std::vector<float> para = {kWf, kHf, 128, 10, 0, 32}, result(1 + 3 * 32);
                   Inputs in;
                   in.Add("plane", source), in.Add("mask", mask), in.Add("para", para);
                   Outcome o;
                   o.status = obj->SegmentByMoments(source.data(), mask.data(), para.data(),
                                                    labels.data(), result.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, labels), Append(&o.outputs, result);
                   return o;
                 }});
  for (int slot : {13, 16}) {
    ops.push_back({slot == 13 ? "13 CutLeadRois" : "16 MeasureLeadRoi", 100,
                   [slot](ImgTarn_IF* obj, int) {
                     Bytes image = Scene(), lead = LeadTemplate();
                     Inputs in;
                     in.Add("image", image), in.Add("template", lead);
                     Outcome o;
                     if (slot == 13) {
                       std::vector<float> para(19, 0.0f);
                       para[0] = kWf, para[1] = kHf, para[2] = 38, para[3] = 26, para[5] = 8;
                       para[6] = 0.5f;
                       o.status = obj->CutLeadRois(image.data(), lead.data(), nullptr, para.data());
                       Append(&o.outputs, para);
                     } else {
                       std::vector<float> para = {kWf, kHf, 38, 26, 0, 8, 0.5f, 64.5f, 58.5f, 1.5f,
                                                  120};
                       std::vector<float> result(10);
                       in.Add("para", para);
                       o.status = obj->MeasureLeadRoi(image.data(), lead.data(), para.data(),
                                                      result.data());
                       o.changed = in.Changed();  // while para is alive
                       Append(&o.outputs, result);
                     }
                     if (slot == 13) o.changed = in.Changed();
                     return o;
                   }});
  }
  ops.push_back({"15 ApproxContoursDemo", 200, [](ImgTarn_IF* obj, int) {
                   Bytes source = Scene(), drawing(kW * kH, 7);
                   std::vector<float> para = {kWf, kHf, 128, 2, 0, 16}, result(17);
                   Inputs in;
                   in.Add("source", source), in.Add("para", para);
                   Outcome o;
                   o.status = obj->ApproxContoursDemo(source.data(), para.data(), drawing.data(),
                                                      result.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, drawing), Append(&o.outputs, result);
                   return o;
                 }});
  ops.push_back({"19 CountContourPixels", 200, [](ImgTarn_IF* obj, int) {
                   return PlaneAndPara(Scene(), {kWf, kHf, 128, 0, 0, 8}, 10,
                                       [&](unsigned char* p, float* para, float* r) {
                                         return obj->CountContourPixels(p, para, nullptr, r);
                                       });
                 }});
  ops.push_back({"20 FollowCadOverlay", 50, [](ImgTarn_IF* obj, int) {
                   Bytes boundary = Rect(10, 10, 70, 60), cad = Rect(30, 30, 20, 16);
                   Bytes measured = Rect(33, 32, 18, 16);
                   std::vector<float> para = {kWf, kHf, 0};
                   float score = -1;
                   Inputs in;
                   in.Add("boundary", boundary), in.Add("cad", cad), in.Add("measured", measured);
                   in.Add("para", para);
                   Outcome o;
                   o.status = obj->FollowCadOverlay(boundary.data(), cad.data(), measured.data(),
                                                    para.data(), nullptr, &score);
                   o.changed = in.Changed();
                   Append(&o.outputs, &score, 1);
                   return o;
                 }});
  for (int mode : {0, 100}) {
    ops.push_back({mode == 0 ? "21 MorphRing band" : "21 MorphRing between masks", 200,
                   [mode](ImgTarn_IF* obj, int) {
                     Bytes a1(kW * kH), a2(kW * kH), a3(kW * kH), plane = Scene();
                     if (mode == 100) a1 = Rect(20, 20, 40, 30), a2 = Rect(30, 25, 10, 10);
                     std::vector<float> para = {kWf, kHf, 128, 2, 0, 0, 0, 0};
                     Inputs in;
                     in.Add("plane", plane);
                     if (mode == 100) in.Add("outer", a1), in.Add("inner", a2);
                     Outcome o;
                     o.status = obj->MorphRing(a1.data(), a2.data(), a3.data(), para.data(), mode,
                                               plane.data());
                     o.changed = in.Changed();
                     Append(&o.outputs, a1), Append(&o.outputs, a2), Append(&o.outputs, a3);
                     Append(&o.outputs, para);
                     return o;
                   }});
  }
  ops.push_back({"22 FillContours", 200, [](ImgTarn_IF* obj, int) {
                   Bytes target(kW * kH, 9), source = Scene();
                   std::vector<int> polygons = {2, 4, 0, 0, 20, 0, 20, 20, 0, 20, 3, 50, 50, 90, 60,
                                                60, 79};
                   std::vector<float> para = {kWf, kHf, 200, static_cast<float>(polygons.size()), 0,
                                              0, 0};
                   Inputs in;
                   in.Add("polygons", polygons), in.Add("source", source);
                   Outcome o;
                   o.status = obj->FillContours(target.data(), para.data(), nullptr,
                                                polygons.data(), source.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, target), Append(&o.outputs, para);
                   return o;
                 }});
  ops.push_back({"23 DetectEdgesCanny", 200, [](ImgTarn_IF* obj, int) {
                   Bytes source = Scene(), dst(kW * kH);
                   std::vector<float> para = {kWf, kHf, 1, 0, 20}, result(4);
                   Inputs in;
                   in.Add("src", source), in.Add("para", para);
                   Outcome o;
                   o.status = obj->DetectEdgesCanny(source.data(), para.data(), dst.data(),
                                                    result.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, dst), Append(&o.outputs, result);
                   return o;
                 }});
  ops.push_back({"24 ComputeFlatFieldCoefficients", 100, [](ImgTarn_IF* obj, int) {
                   constexpr int w = 16, h = 12;
                   Bytes stack(6 * w * h);
                   for (std::size_t i = 0; i < stack.size(); ++i)
                     stack[i] = static_cast<unsigned char>((i / (w * h) < 3 ? 100 : 180) + i % 7);
                   std::vector<float> para = {0, 1, w, h, 3, 1.5f, 0.5f, 200, 250, 5};
                   std::vector<float> table(6 * w * h);
                   int a5 = 3;
                   Inputs in;
                   in.Add("stack", stack), in.Add("para", para);
                   Outcome o;
                   o.status = obj->ComputeFlatFieldCoefficients(stack.data(), para.data(), 0,
                                                                table.data(), &a5);
                   o.changed = in.Changed();
                   Append(&o.outputs, table), Append(&o.outputs, &a5, 1);
                   return o;
                 }});
  ops.push_back({"25 ApplyGainOffset", 200, [](ImgTarn_IF* obj, int) {
                   Bytes src = Scene(), dst(src.size());
                   std::vector<float> table(2 * src.size());
                   for (std::size_t i = 0; i < table.size(); ++i) table[i] = 0.5f + (i % 5);
                   Inputs in;
                   in.Add("src", src), in.Add("coefficients", table);
                   Outcome o;
                   o.status = obj->ApplyGainOffset(src.data(), table.data(),
                                                   static_cast<int>(src.size()), dst.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, dst);
                   return o;
                 }});
  ops.push_back({"26 MatchPadTemplates", 20, [](ImgTarn_IF* obj, int) {
                   PadBlobs blobs = Blobs();
                   Bytes plane = PadImage();
                   std::vector<float> para = {kWf, kHf, 1, 0, 0, 0, blobs.count}, scores(64);
                   Inputs in;
                   in.Add("plane", plane), in.Add("para", para), in.Add("pixels", blobs.pixels);
                   in.Add("rects", blobs.rects);
                   Outcome o;
                   o.status = obj->MatchPadTemplates(plane.data(), para.data(), nullptr,
                                                     scores.data(), blobs.pixels.data(),
                                                     blobs.rects.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, scores);
                   return o;
                 }});
  ops.push_back({"27 SplitPadBlobs", 50, [](ImgTarn_IF* obj, int) {
                   Bytes plane = PadImage(), pixels(64 * kW * kH);
                   std::vector<int> rects(4 * 64);
                   std::vector<float> para = {kWf, kHf, 1, 0, 0, 0}, grid(2);
                   Inputs in;
                   in.Add("plane", plane), in.Add("para", para);
                   Outcome o;
                   o.status = obj->SplitPadBlobs(plane.data(), para.data(), nullptr, grid.data(),
                                                 pixels.data(), rects.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, pixels), Append(&o.outputs, rects), Append(&o.outputs, grid);
                   return o;
                 }});
  ops.push_back({"28 FindDominantLevels", 200, [](ImgTarn_IF* obj, int) {
                   Bytes a = Scene(), b = PadImage(), c = MarkPlane(true), levels(3);
                   Inputs in;
                   in.Add("a1", a), in.Add("a2", b), in.Add("a3", c);
                   Outcome o;
                   o.status = obj->FindDominantLevels(a.data(), b.data(), c.data(), kW, kH,
                                                      levels.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, levels);
                   return o;
                 }});
  ops.push_back({"29 FillBlackHoles", 200, [](ImgTarn_IF* obj, int) {
                   cv::Mat r(kH, kW, CV_8UC1, cv::Scalar(120)), g(kH, kW, CV_8UC1, cv::Scalar(80));
                   cv::Mat b(kH, kW, CV_8UC1, cv::Scalar(40));
                   for (cv::Mat* m : {&r, &g, &b}) cv::rectangle(*m, cv::Rect(30, 30, 8, 6), 0, -1);
                   Bytes rb = ToBytes(r), gb = ToBytes(g), bb = ToBytes(b);
                   Bytes o5(rb.size()), o6(rb.size()), o7(rb.size());
                   // 0 leaves OpenCV's thread count alone (it is process-wide).
                   std::vector<float> para = {kWf, kHf, 120, 80, 40, 0};
                   Inputs in;
                   in.Add("para", para);
                   Outcome o;
                   o.status = obj->FillBlackHoles(rb.data(), gb.data(), bb.data(), para.data(),
                                                  o5.data(), o6.data(), o7.data());
                   o.changed = in.Changed();
                   for (Bytes* p : {&rb, &gb, &bb, &o5, &o6, &o7}) Append(&o.outputs, *p);
                   return o;
                 }});
  ops.push_back({"30 Slot30Dispatch median", 100, [](ImgTarn_IF* obj, int) {
                   std::vector<float> heights(kW * kH), filtered(kW * kH);
                   for (std::size_t i = 0; i < heights.size(); ++i)
                     heights[i] = static_cast<float>((i * 37) % 101);
                   std::vector<float> para = {0, kWf, kHf, 5, 0, 1000, 2, 0};
                   Inputs in;
                   in.Add("para", para);
                   Outcome o;
                   o.status = obj->Slot30Dispatch(heights.data(), filtered.data(), para.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, heights), Append(&o.outputs, filtered);
                   return o;
                 }});
  ops.push_back({"31 LoadImagePlanes", 100, [](ImgTarn_IF* obj, int) {
                   static const std::string path = [] {
                     const std::string p = TempPath("load.png");
                     cv::Mat m(kH, kW, CV_8UC3, cv::Scalar(10, 20, 30));
                     cv::circle(m, {30, 30}, 12, cv::Scalar(200, 100, 50), -1);
                     cv::imwrite(p, m);
                     return p;
                   }();
                   std::vector<float> para = {static_cast<float>(path.size()), 0, 0};
                   Bytes chars(path.begin(), path.end());
                   unsigned char *r = nullptr, *g = nullptr, *b = nullptr;
                   Inputs in;
                   in.Add("path", chars);
                   Outcome o;
                   o.status = obj->LoadImagePlanes(chars.data(), &r, &g, &b, para.data());
                   o.changed = in.Changed();
                   const std::size_t n = static_cast<std::size_t>(para[1] * para[2]);
                   for (unsigned char* p : {r, g, b}) Append(&o.outputs, p, n), operator delete(p);
                   Append(&o.outputs, para);
                   return o;
                 }});
  ops.push_back({"32 SaveImagePlanes", 50, [](ImgTarn_IF* obj, int worker) {
                   const std::string path = TempPath("save" + std::to_string(worker) + ".png");
                   Bytes chars(path.begin(), path.end()), r = Scene(), g = PadImage();
                   Bytes b = MarkPlane(true);
                   std::vector<float> para = {static_cast<float>(chars.size()), kWf, kHf};
                   Inputs in;
                   in.Add("path", chars), in.Add("r", r), in.Add("g", g), in.Add("b", b);
                   in.Add("para", para);
                   Outcome o;
                   o.status = obj->SaveImagePlanes(chars.data(), r.data(), g.data(), b.data(),
                                                   para.data());
                   o.changed = in.Changed();
                   cv::Mat saved = cv::imread(path, cv::IMREAD_COLOR);
                   o.outputs = ToBytes(saved);
                   return o;
                 }});
  ops.push_back({"33 ResizePlanes", 200, [](ImgTarn_IF* obj, int) {
                   Bytes a = Scene(), b = PadImage(), c = MarkPlane(false);
                   Bytes d(50 * 37), e(50 * 37), f(50 * 37);
                   std::vector<float> para = {kWf, kHf, 50, 37, 1};
                   Inputs in;
                   in.Add("a1", a), in.Add("a2", b), in.Add("a3", c), in.Add("para", para);
                   Outcome o;
                   o.status = obj->ResizePlanes(a.data(), b.data(), c.data(), d.data(), e.data(),
                                                f.data(), para.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, d), Append(&o.outputs, e), Append(&o.outputs, f);
                   return o;
                 }});
  ops.push_back({"34 DrawContourMask", 200, [](ImgTarn_IF* obj, int) {
                   Bytes mask(kW * kH, 5), plane = Scene();
                   std::vector<float> para = {kWf, kHf, 128, 20, 0, 0, 0};
                   Inputs in;
                   in.Add("plane", plane);
                   Outcome o;
                   o.status = obj->DrawContourMask(mask.data(), plane.data(), para.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, mask), Append(&o.outputs, para);
                   return o;
                 }});
  ops.push_back({"35 CountingSortValues", 200, [](ImgTarn_IF* obj, int) {
                   std::vector<int> values(500), permutation(500);
                   for (std::size_t i = 0; i < values.size(); ++i)
                     values[i] = static_cast<int>((i * 7919) % 613) - 300;
                   std::vector<float> para = {500, 1, 0, 1};
                   Inputs in;
                   in.Add("para", para);
                   Outcome o;
                   o.status = obj->CountingSortValues(values.data(), para.data(),
                                                      permutation.data());
                   o.changed = in.Changed();
                   Append(&o.outputs, values), Append(&o.outputs, permutation);
                   return o;
                 }});
  return ops;
}

class EveryOperation : public testing::TestWithParam<std::size_t> {
 protected:
  static const std::vector<NamedOperation>& Ops() {
    static const std::vector<NamedOperation> ops = Operations();
    return ops;
  }
  const NamedOperation& Op() const { return Ops()[GetParam()]; }
};

// Slots 2, 4 and 5 always show a window and every other slot's debug output is off here;
// slot 0 does nothing. The numeric object's slots are pure functions of their arrays.
TEST_P(EveryOperation, GivesTheSerialResultFromEightThreadsAtOnce) {
  Object serialObject = NewObject();
  const Outcome serial = Op().run(serialObject.get(), 0);
  constexpr int kThreads = 8;
  std::vector<int> mismatches(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      Object object = NewObject();
      for (int i = 0; i < Op().callsPerThread; ++i) {
        const Outcome o = Op().run(object.get(), t);
        if (o.status != serial.status || o.outputs != serial.outputs) ++mismatches[t];
      }
    });
  }
  for (std::thread& t : threads) t.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << Op().name << " thread " << t;
}

TEST_P(EveryOperation, LeavesItsInputsUnchanged) {
  Object object = NewObject();
  const Outcome o = Op().run(object.get(), 0);
  EXPECT_EQ(o.changed, "") << Op().name;
}

INSTANTIATE_TEST_SUITE_P(Reliability, EveryOperation,
                         testing::Range<std::size_t>(0, Operations().size()),
                         [](const testing::TestParamInfo<std::size_t>& info) {
                           std::string name = Operations()[info.param].name;
                           for (char& c : name)
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           return "Slot" + name;
                         });

// The numeric object: inputs unchanged, and the same answer from eight threads.
TEST(NumericOperations, LeaveInputsUnchangedAndAgreeAcrossThreads) {
  auto run = [](NFunction_IF* obj, Bytes* changed) {
    std::vector<float> in1 = {10, 3.5f, -2.5f, 1, 1, 0.5f, 0.5f, 0, 1, 1, 1, 2, 1, 100, 200};
    std::vector<float> in2 = {1, 50, 10, 20, 30, 40, 12, 1, 25, 1, 0, 35, 45};
    std::vector<float> para = {kWf, kHf, 1};
    std::vector<float> out1(5), out2(8);
    Bytes plane = Scene();
    Inputs in;
    in.Add("in1", in1), in.Add("in2", in2), in.Add("para", para);
    Bytes result;
    result.push_back(static_cast<unsigned char>(obj->StepPositionToOffsets(in1.data(), 15,
                                                                          out1.data(), 5)));
    result.push_back(static_cast<unsigned char>(obj->InterpolateToTargets(in2.data(), 13,
                                                                         out2.data(), 8)));
    obj->InvertPlane(plane.data(), para.data(), 3);
    if (changed != nullptr) {
      const std::string names = in.Changed();
      *changed = Bytes(names.begin(), names.end());
    }
    Append(&result, out1), Append(&result, out2), Append(&result, plane);
    return result;
  };
  NumericObject serialObject = NewNumericObject();
  Bytes changed;
  const Bytes serial = run(serialObject.get(), &changed);
  EXPECT_TRUE(changed.empty()) << std::string(changed.begin(), changed.end());
  std::vector<int> mismatches(8, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      NumericObject object = NewNumericObject();
      for (int i = 0; i < 200; ++i) mismatches[t] += run(object.get(), nullptr) != serial;
    });
  }
  for (std::thread& t : threads) t.join();
  for (int t = 0; t < 8; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
}

// ---------------------------------------------------------------------------------------
// Watchdogs: inputs that could loop forever must return. The call runs on its own thread;
// a call still running after the limit fails the test (the thread is then left behind).

constexpr auto kLimit = std::chrono::seconds(20);

bool FinishesInTime(std::function<void()> call) {
  auto done = std::make_shared<std::promise<void>>();
  std::future<void> finished = done->get_future();
  std::thread([call, done] {
    call();
    done->set_value();
  }).detach();
  return finished.wait_for(kLimit) == std::future_status::ready;
}

TEST(NoHang, FillBlackHolesOnNarrowPlanes) {
  for (const auto& [w, h] : std::vector<std::pair<int, int>>{{1, 1}, {1, 50}, {50, 1}, {2, 19},
                                                              {19, 2}, {20, 1}, {1, 21}}) {
    EXPECT_TRUE(FinishesInTime([w = w, h = h] {
      Object obj = NewObject();
      Bytes r(w * h, 0), g(w * h, 0), b(w * h, 0), o5(w * h), o6(w * h), o7(w * h);
      float para[6] = {static_cast<float>(w), static_cast<float>(h), 0, 0, 0, 0};
      obj->FillBlackHoles(r.data(), g.data(), b.data(), para, o5.data(), o6.data(), o7.data());
    })) << w << " x " << h;
  }
}

TEST(NoHang, FollowCadOverlayWithABoundaryWithoutOutside) {
  EXPECT_TRUE(FinishesInTime([] {
    Object obj = NewObject();
    Bytes boundary(kW * kH, 255), cad = Rect(30, 30, 20, 16), measured = Rect(10, 12, 8, 40);
    float para[3] = {kWf, kHf, 0}, score = -1;
    obj->FollowCadOverlay(boundary.data(), cad.data(), measured.data(), para, nullptr, &score);
  }));
}

TEST(NoHang, HugeWindowsInTheFlatFieldAndTheMedianFilter) {
  // 2147483520 is the largest float below 2^31; 2^31 itself reads as INT_MIN.
  for (float k : {2147483520.0f, 16777215.0f, 65537.0f, 2147483648.0f, -2147483520.0f}) {
    EXPECT_TRUE(FinishesInTime([k] {
      Object obj = NewObject();
      constexpr int w = 8, h = 6;
      Bytes stack(6 * w * h, 100);
      float para[10] = {0, 1, w, h, k, 1.5f, 0.5f, 200, 250, 5};
      std::vector<float> table(6 * w * h);
      int a5 = 0;
      obj->ComputeFlatFieldCoefficients(stack.data(), para, 0, table.data(), &a5);
    })) << "slot 24, k = " << k;
    EXPECT_TRUE(FinishesInTime([k] {
      Object obj = NewObject();
      std::vector<float> heights(8 * 6, 3.0f), filtered(8 * 6);
      float para[8] = {0, 8, 6, k, 0, 1000, 2, 1};
      obj->Slot30Dispatch(heights.data(), filtered.data(), para);
    })) << "slot 30, k = " << k;
  }
}

TEST(NoHang, CountingSortOverTheWholeIntRange) {
  EXPECT_TRUE(FinishesInTime([] {
    Object obj = NewObject();
    std::vector<int> values = {INT_MAX, INT_MIN, 0, INT_MIN}, permutation(4);
    float para[4] = {4, 1, 0, 1};
    obj->CountingSortValues(values.data(), para, permutation.data());
    EXPECT_EQ(values, (std::vector<int>{INT_MIN, INT_MIN, 0, INT_MAX}));
  }));
}

TEST(NoHang, FillContoursWithPolygonsAtTheCoordinateLimit) {
  EXPECT_TRUE(FinishesInTime([] {
    Object obj = NewObject();
    constexpr int kFar = 1 << 24;
    std::vector<int> polygons = {1, 4, -kFar, -kFar, kFar, -kFar, kFar, kFar, -kFar, kFar};
    Bytes target(kW * kH, 0);
    float para[7] = {kWf, kHf, 255, static_cast<float>(polygons.size()), 0, 0, 0};
    EXPECT_EQ(obj->FillContours(target.data(), para, nullptr, polygons.data(), nullptr), 0);
    EXPECT_EQ(target, Bytes(kW * kH, 255));
  }));
}

// A window larger than the plane reaches the whole plane: clipping it first changes nothing.
TEST(NoHang, AHugeMedianWindowEqualsOneCoveringThePlane) {
  Object obj = NewObject();
  std::vector<float> heights(8 * 6), filtered(8 * 6);
  for (std::size_t i = 0; i < heights.size(); ++i) heights[i] = static_cast<float>(i % 11);
  std::vector<float> covering = heights, huge = heights;
  float paraCovering[8] = {0, 8, 6, 17, 0, 1000, 2, 1};
  float paraHuge[8] = {0, 8, 6, 2147483520.0f, 0, 1000, 2, 1};
  obj->Slot30Dispatch(covering.data(), filtered.data(), paraCovering);
  obj->Slot30Dispatch(huge.data(), filtered.data(), paraHuge);
  EXPECT_EQ(covering, huge);
}

// ---------------------------------------------------------------------------------------
// Contractual exceptions: raised, and (under LeakSanitizer) leaving nothing behind.

TEST(ContractualExceptions, LoadingAnUnreadableFileThrowsOutOfRange) {
  Object obj = NewObject();
  const std::string path = TempPath("does-not-exist.png");
  Bytes chars(path.begin(), path.end());
  float para[3] = {static_cast<float>(chars.size()), 7, 7};
  unsigned char *r = nullptr, *g = nullptr, *b = nullptr;
  EXPECT_THROW(obj->LoadImagePlanes(chars.data(), &r, &g, &b, para), std::out_of_range);
  EXPECT_EQ(r, nullptr);
  EXPECT_EQ(para[1], 0.0f);
}

TEST(ContractualExceptions, SavingWithAnUnknownExtensionThrowsCvException) {
  Object obj = NewObject();
  const std::string path = TempPath("unknown.xyz");
  Bytes chars(path.begin(), path.end()), plane = Scene();
  float para[3] = {static_cast<float>(chars.size()), kWf, kHf};
  EXPECT_THROW(obj->SaveImagePlanes(chars.data(), plane.data(), plane.data(), plane.data(), para),
               cv::Exception);
}

TEST(ContractualExceptions, ResizingAnEmptySourceThrowsCvException) {
  Object obj = NewObject();
  Bytes src(4), dst(16);
  float para[5] = {0, 0, 4, 4, 0};
  EXPECT_THROW(obj->ResizePlanes(src.data(), src.data(), src.data(), dst.data(), dst.data(),
                                 dst.data(), para),
               cv::Exception);
}

// ---------------------------------------------------------------------------------------
// A sample of the README's "Bad input" table.

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(BadInput, NullPlanesAreRefused) {
  Object obj = NewObject();
  float para[5] = {kWf, kHf, 12, 60, 0}, result[5] = {7, 7, 7, 7, 7};
  EXPECT_EQ(obj->DetectCirclesSmoothed(nullptr, para, 5, result), -1);
  EXPECT_EQ(obj->AdjustCircleEdges(nullptr, para, nullptr, result), -1);
  EXPECT_EQ(result[4], 7.0f);  // untouched
  float edges[5] = {kWf, kHf, 0, 0, 0};
  Bytes plane = Scene();
  EXPECT_EQ(obj->DetectEdgesCanny(plane.data(), edges, nullptr, result), -1);
  Bytes chars = {'a', '.', 'p', 'n', 'g'};
  float save[3] = {5, kWf, kHf};
  EXPECT_EQ(obj->SaveImagePlanes(chars.data(), plane.data(), nullptr, plane.data(), save), -1);
}

TEST(BadInput, NaNOrNegativeSizesAreRefused) {
  Object obj = NewObject();
  Bytes plane = Scene(), dst(plane.size());
  float result[4] = {7, 7, 7, 7};
  for (float bad : {kNaN, 0.0f, -5.0f}) {
    float marks[5] = {kWf, bad, 12, 0, 0};
    EXPECT_EQ(obj->LocateCircleMark(plane.data(), marks, nullptr, result), -1) << bad;
    EXPECT_EQ(result[0], 0.0f);
    float edges[5] = {bad, kHf, 0, 0, 0};
    EXPECT_EQ(obj->DetectEdgesCanny(plane.data(), edges, dst.data(), result), -1) << bad;
    float overlay[3] = {bad, kHf, 0}, score = 7;
    EXPECT_EQ(obj->FollowCadOverlay(plane.data(), plane.data(), plane.data(), overlay, nullptr,
                                    &score), -1);
    EXPECT_EQ(score, 0.0f);
    float resize[5] = {kWf, kHf, bad, 10, 0};
    EXPECT_EQ(obj->ResizePlanes(plane.data(), plane.data(), plane.data(), dst.data(), dst.data(),
                                dst.data(), resize), -1);
  }
  EXPECT_EQ(dst, Bytes(plane.size(), 0));  // nothing written by any refusal
}

TEST(BadInput, NaNParameters) {
  Object obj = NewObject();
  Bytes plane = Scene();
  float marks[5] = {kWf, kHf, kNaN, 0, 0}, result[4] = {7, 7, 7, 7};
  EXPECT_EQ(obj->LocateCircleMarkQuick(plane.data(), marks, nullptr, result), -1);
  std::vector<float> heights(16, 1.0f), filtered(16);
  float median[8] = {kNaN, 4, 4, 3, 0, 10, 2, 0};
  EXPECT_EQ(obj->Slot30Dispatch(heights.data(), filtered.data(), median), -1);
  // A NaN K reads as INT_MIN: writing stops after the first value's run.
  std::vector<int> values = {5, 3, 3, 9}, permutation(4, -1);
  float sort[4] = {4, 1, kNaN, 1};
  EXPECT_EQ(obj->CountingSortValues(values.data(), sort, permutation.data()), 0);
  EXPECT_EQ(values, (std::vector<int>{3, 3, 3, 9}));
  EXPECT_EQ(permutation, (std::vector<int>{1, 2, -1, -1}));
  float pads[7] = {kWf, kHf, 1, 0, 0, 0, kNaN}, scores[2] = {7, 7};
  Bytes pixels(4);
  std::vector<int> rects(4, 2);
  EXPECT_EQ(obj->MatchPadTemplates(plane.data(), pads, nullptr, scores, pixels.data(),
                                   rects.data()), 0);
  EXPECT_EQ(scores[0], 0.0f);
  EXPECT_EQ(scores[1], 7.0f);
}

TEST(BadInput, SavingAnEmptyImageThrowsCvException) {
  Object obj = NewObject();
  const std::string path = TempPath("empty.png");
  Bytes chars(path.begin(), path.end()), plane(16);
  for (float bad : {0.0f, -4.0f, kNaN}) {
    float para[3] = {static_cast<float>(chars.size()), bad, 4};
    EXPECT_THROW(obj->SaveImagePlanes(chars.data(), plane.data(), plane.data(), plane.data(),
                                      para),
                 cv::Exception) << bad;
  }
}

}  // namespace
