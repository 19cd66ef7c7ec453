// Slot 26: score pad blobs cut from a reference image against a new grey image.
#include <algorithm>
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "cad_overlay.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::cad_overlay {

MatchParams MatchParams::FromPara(const float* para) {
  MatchParams params;
  params.width = ParaInt(para, 0);
  params.height = ParaInt(para, 1);
  params.brightPads = para[2] != 0.0f;
  params.debug = para[3] != 0.0f;
  params.templateCount = ParaInt(para, 6);
  return params;
}

std::vector<cv::Mat> LoadTemplates(const unsigned char* blobPixels, const int* blobRects, int count,
                                   bool debug) {
  std::vector<cv::Mat> templates;
  if (blobPixels == nullptr || blobRects == nullptr || count < 1) return templates;
  const unsigned char* next = blobPixels;
  for (int i = 0; i < count; ++i) {
    const int width = blobRects[4 * i + 2];
    const int height = blobRects[4 * i + 3];
    if (width <= 0 || height <= 0) {
      // A block without area occupies no bytes and scores 0.
      templates.emplace_back();
      continue;
    }
    cv::Mat templ(height, width, CV_8UC1);
    std::memcpy(templ.data, next, static_cast<std::size_t>(width) * height);
    next += static_cast<std::size_t>(width) * height;
    if (debug) debug_view::Show("拆解图0", templ);  // one window, each template replaces the last
    templates.push_back(templ);
  }
  return templates;
}

float MatchOneTemplate(const cv::Mat& scene, const cv::Mat& templ) {
  // A template without a set pixel has no shape to agree with and no norm to correlate by.
  if (templ.empty() || cv::countNonZero(templ) == 0 || scene.empty()) return 0.0f;
  const int dx = scene.cols - templ.cols + 1;
  const int dy = scene.rows - templ.rows + 1;
  cv::Mat padded = scene;
  if (dx <= 0 || dy <= 0) {
    // A template larger than the scene, even by one line (dx or dy 0), is matched against
    // the scene framed in black.
    const int pad = std::max({-dx, -dy, 0}) + 5;
    cv::copyMakeBorder(scene, padded, pad, pad, pad, pad, cv::BORDER_CONSTANT, cv::Scalar(0));
  }
  cv::Mat result;
  cv::matchTemplate(padded, templ, result, cv::TM_CCORR_NORMED);
  double maxVal = 0.0;
  cv::Point best;
  cv::minMaxLoc(result, nullptr, &maxVal, nullptr, &best);
  const double shape = ShapeAgreement(padded(cv::Rect(best, templ.size())).clone(), templ);
  return static_cast<float>((maxVal + shape) * 0.5);
}

std::vector<float> ScorePadTemplates(const cv::Mat& image, const std::vector<cv::Mat>& templates,
                                     bool brightPads, bool debug) {
  const BinarizedPads pads = BinarizePads(image, brightPads, debug);
  std::vector<float> scores;
  scores.reserve(templates.size());
  for (const cv::Mat& templ : templates) scores.push_back(MatchOneTemplate(pads.region, templ));
  return scores;
}

int MatchPadTemplates(unsigned char* plane, float* para, float* scores, unsigned char* blobPixels,
                      int* blobRects) {
  const MatchParams params = MatchParams::FromPara(para);
  if (scores != nullptr) scores[0] = 0.0f;
  const std::vector<cv::Mat> templates =
      LoadTemplates(blobPixels, blobRects, params.templateCount, params.debug);
  if (!IsUsablePlane(plane, params.width, params.height)) return -1;
  const std::vector<float> matched = ScorePadTemplates(
      WrapPlane(plane, params.width, params.height), templates, params.brightPads, params.debug);
  if (templates.empty() || scores == nullptr) return -1;
  std::copy(matched.begin(), matched.end(), scores);
  return 0;
}

}  // namespace imgtarn::cad_overlay
