// Buffers: fill-holes (slot 29), flatfield calibrate / apply (slots 24 and 25), median
// (slot 30), resize (slot 33), levels (slot 28) and sort (slot 35).
#include <climits>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

constexpr float kUnwritten = std::numeric_limits<float>::quiet_NaN();

json::Value Header(const std::string& command, const std::string& image, int width, int height) {
  json::Value result = json::Value::Object();
  result.Set("command", command);
  result.Set("image", image);
  result.Set("width", width);
  result.Set("height", height);
  return result;
}

int StatusOrRefused(json::Value& result, int status, const std::string& what) {
  if (status == -1) {
    ReportRefused(result, what + " is not available in this library (status -1)");
    return kExitRefused;
  }
  result.Set("status", status);
  return kExitOk;
}

// Black as the hole filler sees it: all three channels at 5 or below.
cv::Mat BlackMask(const ColourPlanes& planes) {
  cv::Mat bgr = planes.Bgr(), mask;
  cv::inRange(bgr, cv::Scalar(0, 0, 0), cv::Scalar(5, 5, 5), mask);
  return mask;
}

json::Value ColourJson(int r, int g, int b) {
  json::Value value = json::Value::Object();
  value.Set("r", r);
  value.Set("g", g);
  value.Set("b", b);
  return value;
}

// ---------------------------------------------------------------------------------------------

int RunFillHoles(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  std::string outPath = args.RequiredText("output");
  CheckImageOutputPath(outPath, "-o");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[0];
  cv::Vec3i colour = ParseColour(args.RequiredText("colour"), "--colour");
  int threads = args.Integer("threads", 0);
  if (threads < 0 || threads > 256) throw UsageError("--threads must lie in 0..256");
  ColourPlanes planes = LoadColour(context.Lib(), path);
  cv::Mat before = BlackMask(planes);
  ColourPlanes filled = planes;
  float para[6] = {static_cast<float>(planes.width), static_cast<float>(planes.height),
                   static_cast<float>(colour[0]),    static_cast<float>(colour[1]),
                   static_cast<float>(colour[2]),    static_cast<float>(threads)};
  int status = context.Lib().Call<int>(slot::kFillBlackHoles, planes.red.data(),
                                       planes.green.data(), planes.blue.data(), para,
                                       filled.red.data(), filled.green.data(), filled.blue.data());
  json::Value result = Header("fill-holes", path, planes.width, planes.height);
  result.Set("colour", ColourJson(colour[0], colour[1], colour[2]));
  if (StatusOrRefused(result, status, "fill-holes: slot 29") != kExitOk) return kExitRefused;
  cv::Mat after = BlackMask(filled);
  int blackBefore = cv::countNonZero(before), blackAfter = cv::countNonZero(after);
  result.Set("black_before", blackBefore);
  result.Set("black_after", blackAfter);
  result.Set("filled", blackBefore - blackAfter);
  SaveColour(context.Lib(), outPath, filled);
  result.Set("output", outPath);
  if (args.Has("annotate")) {
    cv::Mat canvas = filled.Bgr();
    cv::Mat painted = before & ~after;
    canvas.setTo(cv::Scalar(255, 0, 255), painted);  // magenta: what was filled
    annotate::Label(canvas, std::to_string(blackBefore - blackAfter) + " px filled",
                    {5, canvas.rows - 8}, annotate::kNote);
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

// ---------------------------------------------------------------------------------------------

json::Value Stats(const float* values, std::size_t count) {
  double lo = std::numeric_limits<double>::infinity(), hi = -lo, sum = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    lo = std::min(lo, static_cast<double>(values[i]));
    hi = std::max(hi, static_cast<double>(values[i]));
    sum += values[i];
  }
  json::Value value = json::Value::Object();
  // Float precision is all the samples carry, so the statistics print like them.
  value.Set("min", static_cast<float>(lo));
  value.Set("mean", static_cast<float>(count ? sum / static_cast<double>(count) : 0.0));
  value.Set("max", static_cast<float>(hi));
  return value;
}

int RunFlatFieldCalibrate(Context& context, const Args& args) {
  const auto& files = args.positionals();
  if (files.size() < 3 || files.size() % 2 == 0) {
    throw UsageError(
        "calibrate needs LOW HIGH image pairs: flatfield calibrate LOW HIGH "
        "[LOW HIGH ...] -o COEFFS");
  }
  std::string outPath = args.RequiredText("output");
  int window = args.Integer("window", 5);
  if (window < 1 || window > 51 || window % 2 == 0) {
    throw UsageError("--window must be an odd number from 1 to 51");
  }
  int groups = static_cast<int>(files.size() - 1) / 2;
  int width = 0, height = 0;
  std::vector<unsigned char> stack;
  for (std::size_t i = 1; i < files.size(); ++i) {
    ColourPlanes planes = LoadColour(context.Lib(), files[i]);
    if (i == 1) {
      width = planes.width;
      height = planes.height;
    } else if (planes.width != width || planes.height != height) {
      throw UsageError(files[i] + " differs in size from " + files[1]);
    }
    for (const auto* plane : {&planes.red, &planes.green, &planes.blue}) {
      stack.insert(stack.end(), plane->begin(), plane->end());
    }
  }
  // The pairs were read in order, so the stack already holds, group by group, the three
  // planes at the low level followed by the three at the high level.
  std::size_t area = static_cast<std::size_t>(width) * height;
  float para[10] = {0.0f,
                    static_cast<float>(groups),
                    static_cast<float>(width),
                    static_cast<float>(height),
                    static_cast<float>(window),
                    static_cast<float>(args.Number("accept-high", 1.5)),
                    static_cast<float>(args.Number("accept-low", 0.5)),
                    static_cast<float>(args.Integer("target-low", 128)),
                    static_cast<float>(args.Integer("target-high", 200)),
                    static_cast<float>(args.Integer("min-count", 1))};
  std::vector<float> coefficients(6 * area, kUnwritten);
  int cleared = INT_MIN;
  int status = context.Lib().Call<int>(slot::kComputeFlatFieldCoefficients, stack.data(), para, 0,
                                       coefficients.data(), &cleared);
  json::Value result = Header("flatfield calibrate", files[1], width, height);
  result.Set("groups", groups);
  if (cleared == INT_MIN) {
    return ReportRefused(result, "flatfield calibrate: slot 24 is not available in this library");
  }
  result.Set("status", status);
  result.Set("offset", Stats(coefficients.data(), 3 * area));
  result.Set("gain", Stats(coefficients.data() + 3 * area, 3 * area));
  std::ofstream file(outPath, std::ios::binary);
  file.write(reinterpret_cast<const char*>(coefficients.data()),
             static_cast<std::streamsize>(coefficients.size() * sizeof(float)));
  if (!file) throw UsageError("could not write " + outPath);
  result.Set("output", outPath);
  PrintResult(result);
  return kExitOk;
}

int RunFlatFieldApply(Context& context, const Args& args) {
  args.ExpectPositionals(2, "IMAGE after 'apply'");
  const std::string& path = args.positionals()[1];
  std::string coeffPath = args.RequiredText("coeffs");
  std::string outPath = args.RequiredText("output");
  CheckImageOutputPath(outPath, "-o");
  CheckReadable(coeffPath, "--coeffs");
  ColourPlanes planes = LoadColour(context.Lib(), path);
  std::size_t area = static_cast<std::size_t>(planes.width) * planes.height;
  std::ifstream file(coeffPath, std::ios::binary | std::ios::ate);
  std::size_t bytes = static_cast<std::size_t>(file.tellg());
  if (bytes != 6 * area * sizeof(float)) {
    throw UsageError("--coeffs " + coeffPath + " does not belong to a " +
                     std::to_string(planes.width) + "x" + std::to_string(planes.height) +
                     " image (wrong file size)");
  }
  std::vector<float> coefficients(6 * area);
  file.seekg(0);
  file.read(reinterpret_cast<char*>(coefficients.data()), static_cast<std::streamsize>(bytes));
  // The coefficients cover the three planes one after another, so one call corrects them all.
  std::vector<unsigned char> source;
  for (const auto* plane : {&planes.red, &planes.green, &planes.blue}) {
    source.insert(source.end(), plane->begin(), plane->end());
  }
  std::vector<unsigned char> corrected(3 * area, 0);
  int status = context.Lib().Call<int>(slot::kApplyGainOffset, source.data(), coefficients.data(),
                                       static_cast<int>(3 * area), corrected.data());
  json::Value result = Header("flatfield apply", path, planes.width, planes.height);
  if (StatusOrRefused(result, status, "flatfield apply: slot 25") != kExitOk) {
    return kExitRefused;
  }
  ColourPlanes out = planes;
  out.red.assign(corrected.begin(), corrected.begin() + static_cast<std::ptrdiff_t>(area));
  out.green.assign(corrected.begin() + static_cast<std::ptrdiff_t>(area),
                   corrected.begin() + static_cast<std::ptrdiff_t>(2 * area));
  out.blue.assign(corrected.begin() + static_cast<std::ptrdiff_t>(2 * area), corrected.end());
  cv::Scalar mean, deviation;
  cv::meanStdDev(out.Grey(), mean, deviation);
  result.Set("mean", mean[0]);
  result.Set("stddev", deviation[0]);
  cv::meanStdDev(planes.Grey(), mean, deviation);
  result.Set("input_mean", mean[0]);
  result.Set("input_stddev", deviation[0]);
  SaveColour(context.Lib(), outPath, out);
  result.Set("output", outPath);
  PrintResult(result);
  return kExitOk;
}

int RunFlatField(Context& context, const Args& args) {
  if (args.positionals().empty()) {
    throw UsageError("missing step: flatfield calibrate ... or flatfield apply ...");
  }
  const std::string& step = args.positionals()[0];
  if (step == "calibrate") return RunFlatFieldCalibrate(context, args);
  if (step == "apply") return RunFlatFieldApply(context, args);
  throw UsageError("unknown step '" + step + "' (calibrate or apply)");
}

// ---------------------------------------------------------------------------------------------

bool HasExtension(const std::string& path, std::initializer_list<const char*> extensions) {
  std::size_t dot = path.rfind('.');
  if (dot == std::string::npos) return false;
  std::string ext = path.substr(dot);
  for (auto& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const char* candidate : extensions) {
    if (ext == candidate) return true;
  }
  return false;
}

// Heights are one plane of floats: a float TIFF keeps them exactly; 8- and 16-bit files are
// read as their sample values.
cv::Mat LoadHeights(const std::string& path) {
  CheckReadable(path, "input heights");
  cv::Mat raw = cv::imread(path, cv::IMREAD_UNCHANGED);
  if (raw.empty()) throw UsageError(path + " is not an image file that can be read");
  if (raw.channels() != 1) throw UsageError(path + " must have one channel of heights");
  cv::Mat heights;
  raw.convertTo(heights, CV_32F);
  return heights;
}

float EvenRule(const std::string& rule) {
  if (rule == "lower") return 0.0f;
  if (rule == "upper") return 1.0f;
  if (rule == "mean") return 2.0f;
  throw UsageError("--even must be lower, upper or mean, not '" + rule + "'");
}

int RunMedian(Context& context, const Args& args) {
  args.ExpectPositionals(1, "HEIGHTS");
  std::string outPath = args.RequiredText("output");
  if (!HasExtension(outPath, {".tif", ".tiff"})) {
    throw UsageError("-o " + outPath + ": filtered heights are floats; write a .tiff");
  }
  CheckImageOutputPath(outPath, "-o");
  const std::string& path = args.positionals()[0];
  cv::Mat heights = LoadHeights(path);
  int window = args.Integer("window", 3);
  // Every sample sorts its whole window, so the cost grows with the fourth power of it.
  if (window < 1 || window > 25) throw UsageError("--window must lie in 1..25");
  bool limited = args.Has("lower") || args.Has("upper");
  int lower = args.Integer("lower", 0), upper = args.Integer("upper", 0);
  if (limited && !(args.Has("lower") && args.Has("upper"))) {
    throw UsageError("--lower and --upper go together");
  }
  if (limited && lower >= upper) throw UsageError("--lower must be below --upper");
  float para[8] = {0.0f,
                   static_cast<float>(heights.cols),
                   static_cast<float>(heights.rows),
                   static_cast<float>(window),
                   static_cast<float>(lower),
                   static_cast<float>(upper),
                   EvenRule(args.Text("even", "mean")),
                   limited ? 0.0f : 1.0f};
  cv::Mat input = heights.clone();
  cv::Mat copy(heights.size(), CV_32F, cv::Scalar(kUnwritten));
  int status =
      context.Lib().Call<int>(slot::kSlot30Dispatch, heights.ptr<float>(), copy.ptr<float>(), para);
  json::Value result = Header("median", path, heights.cols, heights.rows);
  result.Set("window", window);
  if (std::isnan(copy.at<float>(0, 0))) {
    return ReportRefused(result, "median: slot 30 is not available in this library (status " +
                                     std::to_string(status) + ")");
  }
  result.Set("status", status);
  result.Set("changed", cv::countNonZero(heights != input));
  result.Set("input", Stats(input.ptr<float>(), input.total()));
  result.Set("filtered", Stats(heights.ptr<float>(), heights.total()));
  try {
    if (!cv::imwrite(outPath, heights)) throw UsageError("could not write " + outPath);
  } catch (const cv::Exception& e) {
    throw UsageError("could not write " + outPath + ": " + e.err);
  }
  result.Set("output", outPath);
  PrintResult(result);
  return kExitOk;
}

// ---------------------------------------------------------------------------------------------

int RunResize(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  std::string outPath = args.RequiredText("output");
  CheckImageOutputPath(outPath, "-o");
  const std::string& path = args.positionals()[0];
  cv::Size size = args.RequiredSize("size");
  if (size.width > 20000 || size.height > 20000) {
    throw UsageError("--size: at most 20000 pixels on a side");
  }
  ColourPlanes planes = LoadColour(context.Lib(), path);
  ColourPlanes out;
  out.width = size.width;
  out.height = size.height;
  std::size_t area = static_cast<std::size_t>(size.width) * size.height;
  out.red.assign(area, 0);
  out.green.assign(area, 0);
  out.blue.assign(area, 0);
  float para[5] = {static_cast<float>(planes.width), static_cast<float>(planes.height),
                   static_cast<float>(size.width), static_cast<float>(size.height),
                   args.Flag("cubic") ? 1.0f : 0.0f};
  int status = context.Lib().Call<int>(slot::kResizePlanes, planes.red.data(), planes.green.data(),
                                       planes.blue.data(), out.red.data(), out.green.data(),
                                       out.blue.data(), para);
  json::Value result = Header("resize", path, planes.width, planes.height);
  result.Set("interpolation", args.Flag("cubic") ? "cubic" : "linear");
  if (StatusOrRefused(result, status, "resize: slot 33") != kExitOk) return kExitRefused;
  SaveColour(context.Lib(), outPath, out);
  result.Set("output", outPath);
  result.Set("output_width", size.width);
  result.Set("output_height", size.height);
  PrintResult(result);
  return kExitOk;
}

int RunLevels(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  const std::string& path = args.positionals()[0];
  ColourPlanes planes = LoadColour(context.Lib(), path);
  // 255 is never a dominant level (250 and above are left out), so it marks "not written".
  unsigned char levels[3] = {255, 255, 255};
  int status =
      context.Lib().Call<int>(slot::kFindDominantLevels, planes.red.data(), planes.green.data(),
                              planes.blue.data(), planes.width, planes.height, levels);
  json::Value result = Header("levels", path, planes.width, planes.height);
  if (levels[0] == 255) {
    return ReportRefused(result, "levels: slot 28 is not available in this library");
  }
  result.Set("status", status);
  result.Set("levels", ColourJson(levels[0], levels[1], levels[2]));
  PrintResult(result);
  return kExitOk;
}

int RunSort(Context& context, const Args& args) {
  const auto& texts = args.positionals();
  if (texts.empty()) throw UsageError("missing VALUES (see imgtarn sort --help)");
  std::vector<int> values;
  for (const auto& text : texts) values.push_back(ParseInteger(text, "value"));
  auto [lo, hi] = std::minmax_element(values.begin(), values.end());
  // The sort keeps one counter per integer between the smallest and largest value.
  if (static_cast<long long>(*hi) - *lo > 10000000LL) {
    throw UsageError(
        "values spread over more than 10 million; the counting sort would need "
        "too much memory");
  }
  int first = args.Integer("first", 0);
  if (first < 0) throw UsageError("--first must be 0 (all) or more");
  std::vector<int> permutation(values.size(), -1);
  float para[4] = {static_cast<float>(values.size()), args.Flag("descending") ? 0.0f : 1.0f,
                   static_cast<float>(first), 1.0f};
  std::vector<int> sorted = values;
  int status =
      context.Lib().Call<int>(slot::kCountingSortValues, sorted.data(), para, permutation.data());
  json::Value result = json::Value::Object();
  result.Set("command", "sort");
  if (StatusOrRefused(result, status, "sort: slot 35") != kExitOk) return kExitRefused;
  json::Value sortedJson = json::Value::Array(), permutationJson = json::Value::Array();
  for (int v : sorted) sortedJson.Push(v);
  for (int p : permutation) permutationJson.Push(p);
  result.Set("values", sortedJson);
  result.Set("permutation", permutationJson);
  PrintResult(result);
  return kExitOk;
}

}  // namespace

std::vector<Command> BufferCommands() {
  OptionSpec output{"output", "FILE", "where to write the result (required)", "o"};
  return {
      {"fill-holes",
       "paint black holes inside a colour area with that colour (slot 29)",
       "IMAGE",
       {output,
        {"colour", "R,G,B", "reference colour of the area, e.g. 180,120,60 (required)"},
        {"threads", "N", "worker threads for OpenCV (default 0: leave the setting alone)"},
        AnnotateOption()},
       RunFillHoles,
       "JSON: black_before, black_after, filled (pixels with all channels <= 5).\n"
       "The annotation shows the filled pixels in magenta."},
      {"flatfield",
       "flat-field calibration (slot 24) and correction (slot 25)",
       "calibrate LOW HIGH [LOW HIGH ...] -o COEFFS | apply IMAGE --coeffs COEFFS -o OUT",
       {output,
        {"coeffs", "FILE", "apply: coefficients written by calibrate"},
        {"window", "K", "calibrate: odd side of the smoothing window (default 5)"},
        {"accept-low", "F", "calibrate: samples below F x mean are ignored (default 0.5)"},
        {"accept-high", "F", "calibrate: samples above F x mean are ignored (default 1.5)"},
        {"target-low", "LEVEL", "calibrate: level the LOW images are corrected to (default 128)"},
        {"target-high", "LEVEL", "calibrate: target level of the HIGH images (default 200)"},
        {"min-count", "N", "calibrate: accepted samples needed for a local mean (default 1)"}},
       RunFlatField,
       "LOW and HIGH are colour pictures of a flat target at two illumination levels. The\n"
       "coefficient file holds 6 x width x height floats (offsets, then gains, per sample of\n"
       "the red, green and blue planes). JSON: calibrate gives offset and gain statistics;\n"
       "apply gives mean and stddev of the corrected grey image."},
      {"median",
       "windowed median filter of a float height map (slot 30)",
       "HEIGHTS",
       {output,
        {"window", "K", "window side in samples (default 3)"},
        {"lower", "L", "ignore samples at or below L (with --upper)"},
        {"upper", "U", "ignore samples at or above U (with --lower)"},
        {"even", "RULE", "even sample counts take the lower, upper or mean middle (default mean)"}},
       RunMedian,
       "HEIGHTS is a one-channel image; a float TIFF keeps exact heights. The output is a float\n"
       "TIFF. JSON: changed (samples the filter moved), input and filtered {min, mean, max}."},
      {"resize",
       "scale the three planes of a colour image (slot 33)",
       "IMAGE",
       {output,
        {"size", "WxH", "size of the result (required)"},
        {"cubic", "", "bicubic interpolation (default bilinear)"}},
       RunResize,
       "JSON: output_width, output_height, interpolation."},
      {"levels",
       "most frequent grey level of each colour plane (slot 28)",
       "IMAGE",
       {},
       RunLevels,
       "JSON: levels {r, g, b}; levels 0..4 and 250..255 are never chosen."},
      {"sort",
       "counting sort of whole numbers with the permutation (slot 35)",
       "VALUES...",
       {{"descending", "", "largest first (default smallest first)"},
        {"first", "K", "stop once the first K values are delivered (default 0: all)"}},
       RunSort,
       "JSON: values (sorted), permutation (input position of each sorted value)."},
  };
}

}  // namespace imgtarn_cli
