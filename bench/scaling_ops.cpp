#include "scaling_ops.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "imgtarn/imgtarn.hpp"

namespace bench {
namespace {

constexpr double kLinear = 1.15;
constexpr float kThreshold = 128;  // pads and marks are foreground, the noisy ground is not
constexpr int kCapacity = 64;
// The disc template of the circle-mark searches (side 2r + 2) and the lead template.
const cv::Size kDiscTemplate(2 * static_cast<int>(kCircleRadius) + 2,
                             2 * static_cast<int>(kCircleRadius) + 2);
const cv::Size kLeadTemplate(40, 50);

ImgTarn_IF& Library() {
  static ImgTarn_IF* object = ImgTarn_IFCreate();
  return *object;
}

NFunction_IF& Numeric() {
  static NFunction_IF* object = NFunction_IFCreate();
  return *object;
}

using Bytes = std::vector<unsigned char>;
using Floats = std::vector<float>;

// Everything one prepared call owns; the lambdas share it.
struct Buffers {
  cv::Mat plane;  // the operation's own copy of the scene's plane
  std::vector<Bytes> bytes;
  std::vector<Floats> floats;
  std::vector<std::vector<int>> ints;
  std::vector<std::string> texts;
  int w = 0, h = 0;
  float fw = 0, fh = 0;
};

std::shared_ptr<Buffers> Take(const Scene& scene) {
  auto b = std::make_shared<Buffers>();
  b->plane = scene.plane.clone();
  b->w = b->plane.cols;
  b->h = b->plane.rows;
  b->fw = static_cast<float>(b->w);
  b->fh = static_cast<float>(b->h);
  return b;
}

unsigned char* Px(const std::shared_ptr<Buffers>& b) { return b->plane.data; }

Call Stateless(std::function<void()> run) {
  return {[] {}, std::move(run)};
}

// ---- circle marks and Hough circles ----

Call DetectCirclesSmoothed(const Scene& s) {
  auto b = Take(s);
  b->floats = {{b->fw, b->fh, s.circleRadius, 60, 0}, Floats(3)};
  return Stateless(
      [b] { Library().DetectCirclesSmoothed(Px(b), b->floats[0].data(), 5, b->floats[1].data()); });
}

Call DetectCirclesFromText(const Scene& s) {
  auto b = Take(s);
  b->texts = {std::to_string(b->w), std::to_string(b->h), std::to_string(s.circleRadius), "60"};
  b->floats = {Floats(3)};
  return Stateless([b] {
    char* texts[4];
    for (int i = 0; i < 4; ++i) texts[i] = b->texts[i].data();
    Library().DetectCirclesFromText(Px(b), texts, nullptr, b->floats[0].data());
  });
}

Call DetectCirclesPlain(const Scene& s) {
  auto b = Take(s);
  b->floats = {Floats(3)};
  const float radius = s.circleRadius;
  return Stateless([b, radius] {
    Library().DetectCirclesPlain(Px(b), b->w, b->h, radius, 60, b->floats[0].data());
  });
}

Call CircleMark(const Scene& s, int (ImgTarn_IF::*slot)(unsigned char*, float*, void*, float*)) {
  auto b = Take(s);
  b->floats = {{b->fw, b->fh, s.circleRadius, 0, 0}, Floats(3)};
  return Stateless(
      [b, slot] { (Library().*slot)(Px(b), b->floats[0].data(), nullptr, b->floats[1].data()); });
}

Call AdjustCircleEdges(const Scene& s) {
  auto b = Take(s);
  b->floats = {{b->fw, b->fh, b->fw / 2, b->fh / 2, s.circleRadius}, Floats(5)};
  return Stateless([b] {
    Library().AdjustCircleEdges(Px(b), b->floats[0].data(), nullptr, b->floats[1].data());
  });
}

// ---- template marks ----

Call MarkSearch(const Scene& s, cv::Size2f half,
                int (ImgTarn_IF::*slot)(unsigned char*, float*, void*, float*)) {
  auto b = Take(s);
  b->floats = {{b->fw, b->fh, half.width, half.height, 0}, Floats(4)};
  return Stateless(
      [b, slot] { (Library().*slot)(Px(b), b->floats[0].data(), nullptr, b->floats[1].data()); });
}

// ---- leads: the template is cut from a clean board, as a host teaches it once ----

Call Lead(const Scene& s, bool measure) {
  auto b = Take(s);
  const cv::Size templSize = kLeadTemplate;
  const cv::Mat clean = CleanBoard(b->plane.size(), Feature::kLead);
  const cv::Rect box(b->w / 2 - templSize.width / 2, b->h / 2 - templSize.height / 2,
                     templSize.width, templSize.height);
  const cv::Mat templ = clean(box & cv::Rect(0, 0, b->w, b->h)).clone();
  b->bytes = {Bytes(templ.datastart, templ.dataend)};
  const float tw = static_cast<float>(templ.cols), th = static_cast<float>(templ.rows);
  if (!measure) {
    b->floats = {{b->fw, b->fh, tw, th, 0, 8, 0.7f, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}};
    return Stateless(
        [b] { Library().CutLeadRois(Px(b), b->bytes[0].data(), nullptr, b->floats[0].data()); });
  }
  b->floats = {{b->fw, b->fh, tw, th, 0, 8, 0.7f, b->fw / 2, b->fh / 2, 1.5f, 120}, Floats(10)};
  return Stateless([b] {
    Library().MeasureLeadRoi(Px(b), b->bytes[0].data(), b->floats[0].data(), b->floats[1].data());
  });
}

// ---- contours (threshold 128: pads and marks are blobs) ----

Call DrawContoursAllExternal(const Scene& s) {
  auto b = Take(s);
  b->bytes = {Bytes(b->plane.total())};
  b->floats = {{b->fw, b->fh, kThreshold, 1, 0, 255, 0, 0, 0}};
  return Stateless([b] {
    Library().DrawContoursAllExternal(Px(b), b->floats[0].data(), b->bytes[0].data(), nullptr,
                                      nullptr);
  });
}

Call ClassifyRingContours(const Scene& s) {
  auto b = Take(s);
  b->bytes = {Bytes(b->plane.total()), Bytes(b->plane.total())};
  b->floats = {{b->fw, b->fh, kThreshold, 20, 0, 4, kCapacity, kCapacity, 0, 0, 0},
               Floats(4 * kCapacity),
               Floats(4 * kCapacity)};
  return Stateless([b] {
    Library().ClassifyRingContours(b->bytes[0].data(), b->bytes[1].data(), b->floats[1].data(),
                                   b->floats[0].data(), b->floats[2].data(), Px(b));
  });
}

Call MorphBoundingRects(const Scene& s) {
  auto b = Take(s);
  Floats para(8 + 4 * kCapacity);
  const float head[7] = {b->fw, b->fh, kThreshold, 1, 0, 1, kCapacity};
  std::copy(head, head + 7, para.begin());
  b->floats = {para};
  return Stateless([b] { Library().MorphBoundingRects(Px(b), b->floats[0].data()); });
}

Call SegmentByMoments(const Scene& s) {
  auto b = Take(s);
  b->bytes = {Bytes(b->plane.total())};
  b->floats = {{b->fw, b->fh, kThreshold, 10, 0, kCapacity}, Floats(1 + 3 * kCapacity)};
  return Stateless([b] {
    Library().SegmentByMoments(Px(b), nullptr, b->floats[0].data(), b->bytes[0].data(),
                               b->floats[1].data());
  });
}

Call ApproxContoursDemo(const Scene& s) {
  auto b = Take(s);
  b->bytes = {Bytes(b->plane.total())};
  b->floats = {{b->fw, b->fh, kThreshold, 2, 0, kCapacity}, Floats(1 + kCapacity)};
  return Stateless([b] {
    Library().ApproxContoursDemo(Px(b), b->floats[0].data(), b->bytes[0].data(),
                                 b->floats[1].data());
  });
}

Call CountContourPixels(const Scene& s) {
  auto b = Take(s);
  b->floats = {{b->fw, b->fh, kThreshold, 0, 0, kCapacity}, Floats(2 + kCapacity)};
  return Stateless([b] {
    Library().CountContourPixels(Px(b), b->floats[0].data(), nullptr, b->floats[1].data());
  });
}

Call MorphRing(const Scene& s) {
  auto b = Take(s);
  const size_t n = b->plane.total();
  b->bytes = {Bytes(n), Bytes(n), Bytes(n)};
  b->floats = {{b->fw, b->fh, kThreshold, 2, 0, 0, 0, 0}};
  return Stateless([b] {
    Library().MorphRing(b->bytes[0].data(), b->bytes[1].data(), b->bytes[2].data(),
                        b->floats[0].data(), 0, Px(b));
  });
}

// One rectangle per pad of the pad field, filled with the level.
Call FillContours(const Scene& s) {
  auto b = Take(s);
  std::vector<int> polygons = {0};
  for (int y = 42; y + 16 <= b->h; y += 100) {
    for (int x = 38; x + 24 <= b->w; x += 100) {
      polygons.insert(polygons.end(), {4, x, y, x + 23, y, x + 23, y + 15, x, y + 15});
      ++polygons[0];
    }
  }
  b->ints = {polygons};
  b->floats = {{b->fw, b->fh, 255, static_cast<float>(polygons.size()), 0, 0, 0}};
  const cv::Mat original = b->plane.clone();
  return {[b, original] { original.copyTo(b->plane); },
          [b] {
            Library().FillContours(Px(b), b->floats[0].data(), nullptr, b->ints[0].data(), nullptr);
          }};
}

Call DrawContourMask(const Scene& s) {
  auto b = Take(s);
  b->bytes = {Bytes(b->plane.total())};
  b->floats = {{b->fw, b->fh, kThreshold, 20, 0, 0, 0}};
  return Stateless(
      [b] { Library().DrawContourMask(b->bytes[0].data(), Px(b), b->floats[0].data()); });
}

Call DetectEdgesCanny(const Scene& s) {
  auto b = Take(s);
  b->bytes = {Bytes(b->plane.total())};
  b->floats = {{b->fw, b->fh, 1, 0, 50}, Floats(4)};
  return Stateless([b] {
    Library().DetectEdgesCanny(Px(b), b->floats[0].data(), b->bytes[0].data(), b->floats[1].data());
  });
}

// ---- pads and CAD overlay ----

// The CAD pad in the middle, the measured blob 3 pixels right and 2 down; the boundary lets
// the spill rings grow to the plane's edge.
Call FollowCadOverlay(const Scene& s) {
  auto b = Take(s);
  const size_t n = b->plane.total();
  cv::Mat cad = cv::Mat::zeros(b->plane.size(), CV_8UC1);
  cv::Mat measured = cad.clone();
  const cv::Rect pad(b->w / 2 - 24, b->h / 2 - 16, 48, 32);
  cad(pad).setTo(255);
  measured(pad + cv::Point(3, 2)).setTo(255);
  b->bytes = {Bytes(n, 255), Bytes(cad.datastart, cad.dataend),
              Bytes(measured.datastart, measured.dataend)};
  b->floats = {{b->fw, b->fh, 0}, Floats(1)};
  return Stateless([b] {
    Library().FollowCadOverlay(b->bytes[0].data(), b->bytes[1].data(), b->bytes[2].data(),
                               b->floats[0].data(), nullptr, b->floats[1].data());
  });
}

struct SplitBuffers {
  Floats para, grid{0, 0};
  Bytes pixels;
  std::vector<int> rects;
};

SplitBuffers SplitBuffersFor(const cv::Mat& plane) {
  SplitBuffers s;
  s.para = {static_cast<float>(plane.cols), static_cast<float>(plane.rows), 1, 0, 0, 0};
  // Blob boxes of external contours may overlap; four times the plane is ample.
  s.pixels.resize(4 * plane.total());
  s.rects.resize(4 * (plane.total() / 4 + 64));
  return s;
}

Call SplitPadBlobs(const Scene& s) {
  auto b = Take(s);
  auto split = std::make_shared<SplitBuffers>(SplitBuffersFor(b->plane));
  return Stateless([b, split] {
    Library().SplitPadBlobs(Px(b), split->para.data(), nullptr, split->grid.data(),
                            split->pixels.data(), split->rects.data());
  });
}

// Four pad blobs taught once on a small clean pad field; their number stays fixed so the
// time follows the plane, not the template count.
Call MatchPadTemplates(const Scene& s) {
  auto b = Take(s);
  cv::Mat teach = CleanBoard(cv::Size(200, 200), Feature::kPads);
  SplitBuffers taught = SplitBuffersFor(teach);
  Library().SplitPadBlobs(teach.data, taught.para.data(), nullptr, taught.grid.data(),
                          taught.pixels.data(), taught.rects.data());
  const float count = std::min(4.0f, taught.grid[0] * taught.grid[1]);
  b->bytes = {taught.pixels};
  b->ints = {taught.rects};
  b->floats = {{b->fw, b->fh, 1, 0, 0, 0, count}, Floats(8)};
  return Stateless([b] {
    Library().MatchPadTemplates(Px(b), b->floats[0].data(), nullptr, b->floats[1].data(),
                                b->bytes[0].data(), b->ints[0].data());
  });
}

// ---- buffers ----

// Three colour planes: the board in each, shifted in level.
std::vector<cv::Mat> ColourPlanes(const cv::Mat& grey) {
  return {grey.clone(), grey + 20, grey * 0.8};
}

Call FlatField(const Scene& s) {
  auto b = Take(s);
  const size_t n = b->plane.total();
  Bytes stack;
  for (const double gain : {0.6, 0.6, 0.6, 1.2, 1.2, 1.2}) {
    const cv::Mat level = b->plane * gain;
    stack.insert(stack.end(), level.datastart, level.dataend);
  }
  b->bytes = {stack};
  b->floats = {{0, 1, b->fw, b->fh, 15, 1.5f, 0.5f, 200, 250, 5}, Floats(6 * n)};
  b->ints = {std::vector<int>(1)};
  return Stateless([b] {
    Library().ComputeFlatFieldCoefficients(b->bytes[0].data(), b->floats[0].data(), 0,
                                           b->floats[1].data(), b->ints[0].data());
  });
}

Call GainOffset(const Scene& s) {
  auto b = Take(s);
  const size_t n = 3 * b->plane.total();
  Floats table(2 * n);
  cv::RNG rng(3);
  for (size_t i = 0; i < n; ++i) {
    table[i] = rng.uniform(-8.0f, 8.0f);
    table[n + i] = rng.uniform(0.8f, 1.25f);
  }
  Bytes planes;
  for (const cv::Mat& p : ColourPlanes(b->plane))
    planes.insert(planes.end(), p.datastart, p.dataend);
  b->bytes = {planes, Bytes(n)};
  b->floats = {table};
  return Stateless([b] {
    Library().ApplyGainOffset(b->bytes[0].data(), b->floats[0].data(),
                              static_cast<int>(b->bytes[0].size()), b->bytes[1].data());
  });
}

Call DominantLevels(const Scene& s) {
  auto b = Take(s);
  const std::vector<cv::Mat> p = ColourPlanes(b->plane);
  b->bytes = {Bytes(p[0].datastart, p[0].dataend), Bytes(p[1].datastart, p[1].dataend),
              Bytes(p[2].datastart, p[2].dataend), Bytes(3)};
  return Stateless([b] {
    Library().FindDominantLevels(b->bytes[0].data(), b->bytes[1].data(), b->bytes[2].data(), b->w,
                                 b->h, b->bytes[3].data());
  });
}

// The board level is the reference colour; one sample in a hundred is a black hole.
Call FillBlackHoles(const Scene& s) {
  auto b = Take(s);
  cv::Mat holed = b->plane.clone();
  for (size_t i = 0; i < holed.total(); i += 100) holed.data[i] = 0;
  const Bytes original(holed.datastart, holed.dataend);
  const size_t n = original.size();
  b->bytes = {original, original, original, Bytes(n), Bytes(n), Bytes(n)};
  b->floats = {{b->fw, b->fh, 60, 60, 60, 0}};
  return {[b, original] {
            for (int i = 0; i < 3; ++i) b->bytes[i] = original;
          },
          [b] {
            Library().FillBlackHoles(b->bytes[0].data(), b->bytes[1].data(), b->bytes[2].data(),
                                     b->floats[0].data(), b->bytes[3].data(), b->bytes[4].data(),
                                     b->bytes[5].data());
          }};
}

// Integer heights in micrometres, window 5, limits 0..1000, mean of the two middle values.
Call MedianFilter(const Scene& s) {
  auto b = Take(s);
  cv::Mat heights;
  b->plane.convertTo(heights, CV_32F, 4.0);
  const Floats original(heights.ptr<float>(), heights.ptr<float>() + heights.total());
  b->floats = {original, Floats(original.size()), {0, b->fw, b->fh, 5, 0, 1000, 2, 0}};
  return {[b, original] { b->floats[0] = original; },
          [b] {
            Library().Slot30Dispatch(b->floats[0].data(), b->floats[1].data(), b->floats[2].data());
          }};
}

Call SaveImagePlanes(const Scene& s) {
  auto b = Take(s);
  b->texts = {"/tmp/imgtarn_scaling_" + std::to_string(b->w) + ".bmp"};
  b->floats = {{static_cast<float>(b->texts[0].size()), b->fw, b->fh}};
  return Stateless([b] {
    auto* path = reinterpret_cast<unsigned char*>(b->texts[0].data());
    Library().SaveImagePlanes(path, Px(b), Px(b), Px(b), b->floats[0].data());
    std::remove(b->texts[0].c_str());
  });
}

Call ResizePlanes(const Scene& s) {
  auto b = Take(s);
  const size_t half = static_cast<size_t>(b->w / 2) * (b->h / 2);
  b->bytes = {Bytes(half), Bytes(half), Bytes(half)};
  b->floats = {{b->fw, b->fh, static_cast<float>(b->w / 2), static_cast<float>(b->h / 2), 0}};
  return Stateless([b] {
    Library().ResizePlanes(Px(b), Px(b), Px(b), b->bytes[0].data(), b->bytes[1].data(),
                           b->bytes[2].data(), b->floats[0].data());
  });
}

// The plane's samples as the values: n grows with the plane, the value range stays 0..255.
Call CountingSort(const Scene& s) {
  auto b = Take(s);
  const std::vector<int> original(b->plane.datastart, b->plane.dataend);
  b->ints = {original, std::vector<int>(original.size())};
  b->floats = {{static_cast<float>(original.size()), 1, 0, 1}};
  return {[b, original] { b->ints[0] = original; },
          [b] {
            Library().CountingSortValues(b->ints[0].data(), b->floats[0].data(), b->ints[1].data());
          }};
}

Call InvertPlane(const Scene& s) {
  auto b = Take(s);
  b->floats = {{b->fw, b->fh, 1}};
  return Stateless([b] { Numeric().InvertPlane(Px(b), b->floats[0].data(), 3); });
}

Operation Op(std::string name, Feature feature, std::function<Call(const Scene&)> prepare,
             std::string note = "", double goal = kLinear) {
  return {std::move(name), feature, goal, std::move(note), std::move(prepare), "", nullptr};
}

Operation WithReference(Operation op, std::string name,
                        std::function<Call(const Scene&)> reference) {
  op.referenceName = std::move(name);
  op.reference = std::move(reference);
  return op;
}

// ---- the OpenCV routines that carry the work, alone ----

// cv::HoughCircles on the plane smoothed 3 x 3, as slots 3 to 5 call it.
std::function<Call(const Scene&)> HoughAlone(double param1, int tolerance) {
  return [param1, tolerance](const Scene& s) {
    auto b = Take(s);
    cv::GaussianBlur(b->plane, b->plane, cv::Size(3, 3), 0);
    const int r = static_cast<int>(s.circleRadius);
    return Stateless([b, param1, r, tolerance] {
      std::vector<cv::Vec3f> circles;
      cv::HoughCircles(b->plane, circles, cv::HOUGH_GRADIENT, 1.0, 1.0, param1, 15.0, r - tolerance,
                       r + tolerance);
    });
  };
}

// cv::HoughCircles on the Canny edges of the smoothed plane, as the edge stage of slots 11 and
// 12 calls it (one pass of up to seven).
Call EdgeHoughAlone(const Scene& s) {
  auto b = Take(s);
  cv::GaussianBlur(b->plane, b->plane, cv::Size(3, 3), 0);
  cv::Canny(b->plane, b->plane, 120, 255, 3, false);
  const int r = static_cast<int>(s.circleRadius);
  return Stateless([b, r] {
    std::vector<cv::Vec3f> circles;
    cv::HoughCircles(b->plane, circles, cv::HOUGH_GRADIENT, 1.0, 1.0, 120, 15.0, r - 2, r + 2);
  });
}

// memcpy of `bytes` bytes per pixel: the memory traffic alone of a streaming operation.
std::function<Call(const Scene&)> CopyAlone(size_t bytes) {
  return [bytes](const Scene& s) {
    const size_t n = bytes * s.plane.total();
    auto from = std::make_shared<Bytes>(n, 1), to = std::make_shared<Bytes>(n);
    return Stateless([from, to] { std::memcpy(to->data(), from->data(), from->size()); });
  };
}

// cv::matchTemplate (normalised correlation coefficient) of a template of the given size.
std::function<Call(const Scene&)> MatchAlone(cv::Size templateSize) {
  return [templateSize](const Scene& s) {
    auto b = Take(s);
    const cv::Mat templ = b->plane(cv::Rect(cv::Point(0, 0), templateSize)).clone();
    return Stateless([b, templ] {
      cv::Mat scores;
      cv::matchTemplate(b->plane, templ, scores, cv::TM_CCOEFF_NORMED);
    });
  };
}

}  // namespace

const std::vector<Operation>& Operations() {
  using F = Feature;
  static const std::vector<Operation> operations = {
      WithReference(Op("slot3_DetectCirclesSmoothed", F::kCircle, DetectCirclesSmoothed,
                       "OpenCV's Hough accumulator"),
                    "cv::HoughCircles", HoughAlone(60, 5)),
      WithReference(Op("slot4_DetectCirclesFromText", F::kCircle, DetectCirclesFromText,
                       "OpenCV's Hough accumulator"),
                    "cv::HoughCircles", HoughAlone(60, 2)),
      WithReference(Op("slot5_DetectCirclesPlain", F::kCircle, DetectCirclesPlain,
                       "OpenCV's Hough accumulator"),
                    "cv::HoughCircles", HoughAlone(60, 2)),
      Op("slot6_DrawContoursAllExternal", F::kPads, DrawContoursAllExternal),
      Op("slot7_ClassifyRingContours", F::kPads, ClassifyRingContours),
      Op("slot8_MorphBoundingRects", F::kPads, MorphBoundingRects),
      Op("slot9_SegmentByMoments", F::kPads, SegmentByMoments),
      WithReference(
          Op("slot10_LocateCircleMarkQuick", F::kCircle,
             [](const Scene& s) { return CircleMark(s, &ImgTarn_IF::LocateCircleMarkQuick); }),
          "cv::matchTemplate", MatchAlone(kDiscTemplate)),
      WithReference(Op("slot11_LocateCircleMark", F::kCircle,
                       [](const Scene& s) { return CircleMark(s, &ImgTarn_IF::LocateCircleMark); }),
                    "cv::HoughCircles on edges", EdgeHoughAlone),
      WithReference(
          Op("slot12_LocateCircleMarkRoi", F::kCircle,
             [](const Scene& s) { return CircleMark(s, &ImgTarn_IF::LocateCircleMarkRoi); }),
          "cv::HoughCircles on edges", EdgeHoughAlone),
      WithReference(
          Op("slot13_CutLeadRois", F::kLead, [](const Scene& s) { return Lead(s, false); }),
          "cv::matchTemplate", MatchAlone(kLeadTemplate)),
      Op("slot14_LocateCrossMark", F::kCross,
         [](const Scene& s) { return MarkSearch(s, s.crossHalf, &ImgTarn_IF::LocateCrossMark); }),
      Op("slot15_ApproxContoursDemo", F::kPads, ApproxContoursDemo),
      WithReference(
          Op("slot16_MeasureLeadRoi", F::kLead, [](const Scene& s) { return Lead(s, true); }),
          "cv::matchTemplate", MatchAlone(kLeadTemplate)),
      Op("slot17_AdjustCircleEdges", F::kCircle, AdjustCircleEdges),
      Op("slot18_LocateRectangleMark", F::kRectangle,
         [](const Scene& s) {
           return MarkSearch(s, s.rectHalf, &ImgTarn_IF::LocateRectangleMark);
         }),
      Op("slot19_CountContourPixels", F::kPads, CountContourPixels),
      Op("slot20_FollowCadOverlay", F::kPads, FollowCadOverlay),
      Op("slot21_MorphRing", F::kPads, MorphRing),
      Op("slot22_FillContours", F::kPads, FillContours),
      Op("slot23_DetectEdgesCanny", F::kPads, DetectEdgesCanny),
      // Six images in, six float planes out: 30 bytes of traffic per pixel.
      WithReference(Op("slot24_ComputeFlatFieldCoefficients", F::kPads, FlatField,
                       "per-sample cost grows with the window, k = 15"),
                    "memcpy of 15 bytes a pixel", CopyAlone(15)),
      // Per sample of three planes: one byte and two floats in, one byte out.
      WithReference(Op("slot25_ApplyGainOffset", F::kPads, GainOffset),
                    "memcpy of 15 bytes a pixel", CopyAlone(15)),
      Op("slot26_MatchPadTemplates", F::kPads, MatchPadTemplates,
         "cost is templates x pixels, 4 templates"),
      Op("slot27_SplitPadBlobs", F::kPads, SplitPadBlobs),
      Op("slot28_FindDominantLevels", F::kPads, DominantLevels),
      Op("slot29_FillBlackHoles", F::kPads, FillBlackHoles),
      Op("slot30_Slot30Dispatch", F::kPads, MedianFilter,
         "per-sample cost grows with the window k x k, k = 5"),
      Op("slot32_SaveImagePlanes", F::kPads, SaveImagePlanes),
      Op("slot33_ResizePlanes", F::kPads, ResizePlanes),
      Op("slot34_DrawContourMask", F::kPads, DrawContourMask),
      Op("slot35_CountingSortValues", F::kPads, CountingSort,
         "cost is n plus the value range, 0..255 here"),
      WithReference(Op("n0_InvertPlane", F::kPads, InvertPlane), "memcpy of 1 byte a pixel",
                    CopyAlone(1)),
  };
  return operations;
}

}  // namespace bench
