// Component leads: lead (slot 13 cuts the regions beside the lead; with --expect, slot 16 also
// judges its position and the brightness of those regions).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

constexpr float kUnwritten = std::numeric_limits<float>::quiet_NaN();

// Judgement bits of the measurement, by the names the JSON gives them.
constexpr int kPositionBeyondTolerance = 1;
constexpr int kLeftTooBright = 2;
constexpr int kRightTooBright = 4;
constexpr int kLeadNotFound = 8;

struct LeadInputs {
  std::string path;
  cv::Mat grey, leadTemplate;
  float side = 8.0f, minScore = 0.7f, debug = 0.0f;
};

LeadInputs ReadInputs(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  std::string templatePath = args.RequiredText("template");
  LeadInputs in;
  in.path = args.positionals()[0];
  in.grey = LoadGrey(context.Lib(), in.path);
  in.leadTemplate = LoadGrey(context.Lib(), templatePath);
  if (in.leadTemplate.cols > in.grey.cols || in.leadTemplate.rows > in.grey.rows) {
    throw UsageError("--template " + templatePath + " is larger than the image");
  }
  double side = args.Number("side", 8.0);
  if (!(side >= 0.0)) throw UsageError("--side must be 0 or more pixels");
  double minScore = args.Number("min-score", 0.7);
  if (!(minScore >= -1.0 && minScore <= 1.0)) throw UsageError("--min-score must be in -1..1");
  in.side = static_cast<float>(side);
  in.minScore = static_cast<float>(minScore);
  in.debug = args.Flag("debug") ? 1.0f : 0.0f;
  return in;
}

json::Value Region(const float* r) {
  json::Value region = json::Value::Object();
  region.Set("x", r[0]);
  region.Set("y", r[1]);
  region.Set("width", r[2]);
  region.Set("height", r[3]);
  return region;
}

cv::Rect2f RegionRect(const json::Value& region) {
  return {static_cast<float>(region.Get("x").Number()),
          static_cast<float>(region.Get("y").Number()),
          static_cast<float>(region.Get("width").Number()),
          static_cast<float>(region.Get("height").Number())};
}

json::Value Judgement(float bits) {
  int value = static_cast<int>(bits);
  json::Value judgement = json::Value::Object();
  judgement.Set("bits", value);
  judgement.Set("good", value == 0);
  judgement.Set("position_beyond_tolerance", (value & kPositionBeyondTolerance) != 0);
  judgement.Set("left_too_bright", (value & kLeftTooBright) != 0);
  judgement.Set("right_too_bright", (value & kRightTooBright) != 0);
  judgement.Set("lead_not_found", (value & kLeadNotFound) != 0);
  return judgement;
}

// Slot 16 on the same inputs: the judgement of the lead against where it should be.
json::Value Measure(Context& context, const Args& args, const LeadInputs& in, int* status) {
  cv::Point2f expected = ParsePoint(args.Text("expect"), "--expect");
  float para[11] = {static_cast<float>(in.grey.cols),
                    static_cast<float>(in.grey.rows),
                    static_cast<float>(in.leadTemplate.cols),
                    static_cast<float>(in.leadTemplate.rows),
                    in.debug,
                    in.side,
                    in.minScore,
                    expected.x,
                    expected.y,
                    static_cast<float>(args.Number("tolerance", 1.5)),
                    static_cast<float>(args.Number("max-side-grey", 120.0))};
  float out[10];
  std::fill(out, out + 10, kUnwritten);
  *status =
      context.Lib().Call<int>(slot::kMeasureLeadRoi, in.grey.data, in.leadTemplate.data, para, out);
  if (std::isnan(out[0])) return json::Value();
  json::Value measure = json::Value::Object();
  json::Value centre = json::Value::Array();
  centre.Push(expected.x);
  centre.Push(expected.y);
  measure.Set("expected", centre);
  measure.Set("tolerance", para[9]);
  measure.Set("max_side_grey", para[10]);
  json::Value error = json::Value::Array();
  error.Push(out[4]);
  error.Push(out[5]);
  measure.Set("error", error);
  measure.Set("lead_grey", out[6]);
  measure.Set("left_grey", out[7]);
  measure.Set("right_grey", out[8]);
  measure.Set("judgement", Judgement(out[9]));
  return measure;
}

void AnnotateLead(const Args& args, const LeadInputs& in, const json::Value& result) {
  if (!args.Has("annotate")) return;
  cv::Mat canvas = annotate::Canvas(in.grey);
  if (result.Get("found").Bool()) {
    const json::Value& c = result.Get("centre");
    cv::Point2f centre(static_cast<float>(c[0].Number()), static_cast<float>(c[1].Number()));
    // The centre is the middle pixel of the box, so the box starts half a template less one.
    float halfW = (in.leadTemplate.cols - 1) * 0.5f, halfH = (in.leadTemplate.rows - 1) * 0.5f;
    annotate::Box(
        canvas,
        cv::Rect2f(centre.x - halfW, centre.y - halfH, in.leadTemplate.cols, in.leadTemplate.rows),
        annotate::kFound);
    annotate::CentreCross(canvas, centre, annotate::kFound);
    annotate::Box(canvas, RegionRect(result.Get("left")), annotate::kNote);
    annotate::Box(canvas, RegionRect(result.Get("right")), annotate::kNote);
    char caption[64];
    std::snprintf(caption, sizeof caption, "(%.1f, %.1f) %.3f", centre.x, centre.y,
                  result.Get("score").Number());
    annotate::Label(canvas, caption, {5, canvas.rows - 8}, annotate::kNote);
  } else {
    annotate::Label(canvas, "no lead found", {5, canvas.rows - 8}, annotate::kNote);
  }
  SavePicture(args.Text("annotate"), canvas);
}

int RunLead(Context& context, const Args& args) {
  LeadInputs in = ReadInputs(context, args);
  if (args.Has("expect")) ParsePoint(args.Text("expect"), "--expect");  // fail before running
  float para[19] = {static_cast<float>(in.grey.cols),
                    static_cast<float>(in.grey.rows),
                    static_cast<float>(in.leadTemplate.cols),
                    static_cast<float>(in.leadTemplate.rows),
                    in.debug,
                    in.side,
                    in.minScore};
  std::fill(para + 7, para + 19, kUnwritten);
  int status = context.Lib().Call<int>(slot::kCutLeadRois, in.grey.data, in.leadTemplate.data,
                                       static_cast<void*>(nullptr), para);
  json::Value result = json::Value::Object();
  result.Set("command", "lead");
  result.Set("image", in.path);
  result.Set("width", in.grey.cols);
  result.Set("height", in.grey.rows);
  result.Set("template_width", in.leadTemplate.cols);
  result.Set("template_height", in.leadTemplate.rows);
  result.Set("side", in.side);
  result.Set("min_score", in.minScore);
  if (std::isnan(para[7])) {
    return ReportRefused(result, "lead: slot 13 is not available in this library (status " +
                                     std::to_string(status) + ", no result written)");
  }
  result.Set("status", status);
  result.Set("found", para[7] == 1.0f);
  result.Set("score", para[8]);
  json::Value centre = json::Value::Array();
  centre.Push(para[9]);
  centre.Push(para[10]);
  result.Set("centre", centre);
  result.Set("left", Region(para + 11));
  result.Set("right", Region(para + 15));
  if (args.Has("expect")) {
    int measureStatus = 0;
    json::Value measure = Measure(context, args, in, &measureStatus);
    if (measure.IsNull()) {
      return ReportRefused(result, "lead: slot 16 is not available in this library (status " +
                                       std::to_string(measureStatus) + ", no result written)");
    }
    result.Set("measure", measure);
  }
  AnnotateLead(args, in, result);
  PrintResult(result);
  return kExitOk;
}

}  // namespace

std::vector<Command> LeadCommands() {
  return {
      {"lead",
       "find a component lead by its template and cut the regions beside it (slots 13, 16)",
       "IMAGE",
       {{"template", "FILE.png", "grey sample of the lead with some board around it (required)"},
        {"side", "PIXELS", "width of the regions left and right of the lead (default 8)"},
        {"min-score", "SCORE", "lowest match score accepted, -1..1 (default 0.7)"},
        {"expect", "X,Y", "expected lead centre: also judge position and brightness (slot 16)"},
        {"tolerance", "PIXELS", "position tolerance per axis, with --expect (default 1.5)"},
        {"max-side-grey", "GREY",
         "brightest mean grey of a side region, with --expect (default "
         "120)"},
        AnnotateOption(),
        DebugOption()},
       RunLead,
       "JSON: found, score, centre [x, y] (middle pixel of the matched box), left and right "
       "{x, y, width, height} (width 0 when cut away by the border), status. With --expect, "
       "measure {expected, tolerance, max_side_grey, error [dx, dy], lead_grey, left_grey, "
       "right_grey, judgement {bits, good, position_beyond_tolerance, left_too_bright, "
       "right_too_bright, lead_not_found}}."},
  };
}

}  // namespace imgtarn_cli
