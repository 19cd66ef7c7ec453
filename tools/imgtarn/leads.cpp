// Component leads: lead cuts the regions beside a lead found by its template; with --expect it
// also judges the lead's position and the brightness of those regions. The typed API has no
// lead operation, so this command calls the contract's CutLeadRois and MeasureLeadRoi.
#include <cstdio>
#include <memory>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

struct LeadInputs {
  std::string templatePath;
  cv::Mat leadTemplate;  // read once, before the images
  float side = 8.0f, minScore = 0.7f;
  bool expect = false;
  cv::Point2f expected;
  float tolerance = 1.5f, maxSideGrey = 120.0f;
  bool debug = false;
};

// Whole pixels: the regions are cut at the matched box, whose corner is a whole pixel.
Json Region(const float* r) {
  return {{"x", static_cast<int>(r[0])},
          {"y", static_cast<int>(r[1])},
          {"width", static_cast<int>(r[2])},
          {"height", static_cast<int>(r[3])}};
}

Json Judgement(float bits) {
  const int value = static_cast<int>(bits);
  return {{"bits", value},
          {"good", value == 0},
          {"position_beyond_tolerance", (value & 1) != 0},
          {"left_too_bright", (value & 2) != 0},
          {"right_too_bright", (value & 4) != 0},
          {"lead_not_found", (value & 8) != 0}};
}

// The first seven entries of both operations' para: sizes, debug, side width, minimum score.
std::array<float, 7> SearchPara(const LeadInputs& in, const cv::Mat& grey) {
  return {static_cast<float>(grey.cols),
          static_cast<float>(grey.rows),
          static_cast<float>(in.leadTemplate.cols),
          static_cast<float>(in.leadTemplate.rows),
          in.debug ? 1.0f : 0.0f,
          in.side,
          in.minScore};
}

Json Measure(const LeadInputs& in, cv::Mat& grey) {
  float para[11] = {};
  const std::array<float, 7> search = SearchPara(in, grey);
  std::copy(search.begin(), search.end(), para);
  para[7] = in.expected.x;
  para[8] = in.expected.y;
  para[9] = in.tolerance;
  para[10] = in.maxSideGrey;
  float out[10] = {};
  ExpectRan(Contract().MeasureLeadRoi(grey.data, in.leadTemplate.data, para, out));
  return {{"expected", {in.expected.x, in.expected.y}},
          {"tolerance", in.tolerance},
          {"max_side_grey", in.maxSideGrey},
          {"error", {out[4], out[5]}},
          {"lead_grey", out[6]},
          {"left_grey", out[7]},
          {"right_grey", out[8]},
          {"judgement", Judgement(out[9])}};
}

cv::Mat Draw(const cv::Mat& grey, const cv::Mat& leadTemplate, const float* para) {
  cv::Mat canvas = annotate::Canvas(grey);
  if (para[7] != 1.0f) {
    annotate::Caption(canvas, "no lead found");
    return canvas;
  }
  const cv::Point2f centre(para[9], para[10]);
  // The centre is the middle pixel of the box, so the box starts half a template less one.
  const cv::Point2f corner(centre.x - (leadTemplate.cols - 1) * 0.5f,
                           centre.y - (leadTemplate.rows - 1) * 0.5f);
  annotate::Box(canvas, cv::Rect2f(corner, cv::Size2f(leadTemplate.size())), annotate::kFound);
  annotate::CentreCross(canvas, centre, annotate::kFound);
  annotate::Box(canvas, cv::Rect2f(para[11], para[12], para[13], para[14]), annotate::kNote);
  annotate::Box(canvas, cv::Rect2f(para[15], para[16], para[17], para[18]), annotate::kNote);
  char caption[64];
  std::snprintf(caption, sizeof caption, "(%.1f, %.1f) %.3f", centre.x, centre.y, para[8]);
  annotate::Caption(canvas, caption);
  return canvas;
}

void RunLead(const LeadInputs& in, Job& job) {
  cv::Mat& grey = job.image;
  float para[19] = {};
  const std::array<float, 7> search = SearchPara(in, grey);
  std::copy(search.begin(), search.end(), para);
  ExpectRan(Contract().CutLeadRois(grey.data, in.leadTemplate.data, nullptr, para));
  job.result["template_width"] = in.leadTemplate.cols;
  job.result["template_height"] = in.leadTemplate.rows;
  job.result["side"] = in.side;
  job.result["min_score"] = in.minScore;
  job.result["found"] = para[7] == 1.0f;
  job.result["score"] = para[8];
  job.result["centre"] = {para[9], para[10]};
  job.result["left"] = Region(para + 11);
  job.result["right"] = Region(para + 15);
  if (in.expect) job.result["measure"] = Measure(in, grey);
  if (job.annotate) job.annotation = Draw(grey, in.leadTemplate, para);
}

}  // namespace

void AddLeadCommands(CLI::App& app) {
  auto in = std::make_shared<LeadInputs>();
  ImageCommand& command = AddImageCommand(
      app, "lead", "find a component lead by its template and cut the regions beside it",
      Pixels::Grey, true);
  CLI::App* sub = command.app;
  sub->add_option("--template", in->templatePath,
                  "grey sample of the lead with some board around it (required)")
      ->required();
  sub->add_option("--side", in->side, "width of the regions left and right of the lead")
      ->capture_default_str();
  sub->add_option("--min-score", in->minScore, "lowest match score accepted, -1..1")
      ->capture_default_str();
  CLI::Option* expect =
      AddPoint(sub, "--expect", in->expected, "expected lead centre: also judge the lead");
  sub->add_option("--tolerance", in->tolerance, "position tolerance per axis, with --expect")
      ->capture_default_str();
  sub->add_option("--max-side-grey", in->maxSideGrey,
                  "brightest mean grey of a side region, with --expect")
      ->capture_default_str();
  AddDebug(command, in->debug);
  command.prepare = [in, expect] {
    in->expect = expect->count() > 0;
    try {
      in->leadTemplate = LoadPixels(in->templatePath, Pixels::Grey);
    } catch (const std::exception& e) {
      throw UsageError("--template " + in->templatePath + ": " + e.what());
    }
  };
  command.run = [in](Job& job) { RunLead(*in, job); };
}

}  // namespace imgtarn_cli
