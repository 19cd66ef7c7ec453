// Buffers: fill-holes, flatfield calibrate / apply, median, resize, levels and sort.
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

// Black as the hole filler sees it: all three channels at 5 or below.
cv::Mat BlackMask(const cv::Mat& bgr) {
  cv::Mat mask;
  cv::inRange(bgr, cv::Scalar(0, 0, 0), cv::Scalar(5, 5, 5), mask);
  return mask;
}

Json Levels(const imgtarn::Rgb& rgb) { return {{"r", rgb.red}, {"g", rgb.green}, {"b", rgb.blue}}; }

// Float precision is all the samples carry, so the statistics print like them.
Json Stats(const cv::Mat& values) {
  double lowest = 0.0, highest = 0.0;
  cv::minMaxLoc(values.reshape(1), &lowest, &highest);
  return {{"min", static_cast<float>(lowest)},
          {"mean", static_cast<float>(cv::mean(values.reshape(1))[0])},
          {"max", static_cast<float>(highest)}};
}

void AddFillHoles(CLI::App& app) {
  auto colour = std::make_shared<std::array<int, 3>>();
  auto options = std::make_shared<imgtarn::FillOptions>();
  ImageCommand& command =
      AddImageCommand(app, "fill-holes", "paint black holes inside a colour area with that colour",
                      Pixels::Colour, true);
  const Output& output = AddOutput(command, "-o,--output", "where to write the result", true);
  command.app->add_option("--colour", *colour, "reference colour of the area, e.g. 180,120,60")
      ->required()
      ->delimiter(',')
      ->type_name("R,G,B");
  command.app
      ->add_option("--threads", options->threads,
                   "OpenCV worker threads (default 0: leave the setting alone)")
      ->capture_default_str();
  command.prepare = [options, &command] { command.serial = options->threads > 0; };
  command.run = [colour, options, &output](Job& job) {
    const imgtarn::Rgb rgb{(*colour)[0], (*colour)[1], (*colour)[2]};
    const cv::Mat filled = imgtarn::FillBlackHoles(job.image, rgb, *options);
    const cv::Mat before = BlackMask(job.image), after = BlackMask(filled);
    const int blackBefore = cv::countNonZero(before), blackAfter = cv::countNonZero(after);
    job.result["colour"] = Levels(rgb);
    job.result["black_before"] = blackBefore;
    job.result["black_after"] = blackAfter;
    job.result["filled"] = blackBefore - blackAfter;
    job.Write(output, filled);
    if (!job.annotate) return;
    job.annotation = filled.clone();
    job.annotation.setTo(cv::Scalar(255, 0, 255), before & ~after);  // magenta: what was filled
    annotate::Caption(job.annotation, std::to_string(blackBefore - blackAfter) + " px filled");
  };
}

// ---------------------------------------------------------------------------------------------
// Flat field: the coefficients travel between the two steps as an OpenCV FileStorage file.

struct Calibration {
  std::vector<std::string> images;
  std::string output;
  imgtarn::FlatFieldOptions options;
};

void RunCalibrate(const Calibration& in, Json& result) {
  if (in.images.size() < 2 || in.images.size() % 2 != 0) {
    throw UsageError("calibrate needs LOW HIGH image pairs");
  }
  std::vector<cv::Mat> images;
  for (const std::string& path : in.images) images.push_back(LoadPixels(path, Pixels::Colour));
  const imgtarn::FlatFieldCoefficients flat = imgtarn::CalibrateFlatField(images, in.options);
  cv::FileStorage file(in.output, cv::FileStorage::WRITE);
  file << "offset" << flat.offset << "gain" << flat.gain;
  file.release();
  result["image"] = in.images[0];
  result["width"] = images[0].cols;
  result["height"] = images[0].rows;
  result["groups"] = in.images.size() / 2;
  result["offset"] = Stats(flat.offset);
  result["gain"] = Stats(flat.gain);
  result["output"] = in.output;
}

void AddCalibrate(CLI::App& flatfield) {
  auto in = std::make_shared<Calibration>();
  CLI::App* sub = flatfield.add_subcommand("calibrate", "flat-field coefficients");
  sub->add_option("IMAGES", in->images,
                  "LOW HIGH [LOW HIGH ...]: colour pictures of a flat "
                  "target at two illumination levels")
      ->required();
  sub->add_option("-o,--output", in->output, "coefficient file (.yml, .yml.gz, .json)")->required();
  imgtarn::FlatFieldOptions& o = in->options;
  sub->add_option("--window", o.window, "odd side of the smoothing window")->capture_default_str();
  sub->add_option("--accept-low", o.acceptLow, "samples below F x mean are ignored")
      ->capture_default_str();
  sub->add_option("--accept-high", o.acceptHigh, "samples above F x mean are ignored")
      ->capture_default_str();
  sub->add_option("--target-low", o.targetLow, "level the LOW images are corrected to")
      ->capture_default_str();
  sub->add_option("--target-high", o.targetHigh, "target level of the HIGH images")
      ->capture_default_str();
  sub->add_option("--min-count", o.minCount, "accepted samples needed for a local mean")
      ->capture_default_str();
  sub->callback([in] {
    CheckOutputPath(in->output, false, "--output");
    ExitStatus() =
        RunOnce("flatfield calibrate", [in](Json& result) { RunCalibrate(*in, result); });
  });
}

imgtarn::FlatFieldCoefficients ReadCoefficients(const std::string& path) {
  imgtarn::FlatFieldCoefficients flat;
  try {
    cv::FileStorage file(path, cv::FileStorage::READ);
    file["offset"] >> flat.offset;
    file["gain"] >> flat.gain;
  } catch (const cv::Exception&) {
  }
  if (flat.offset.empty() || flat.gain.empty()) {
    throw UsageError("--coeffs: " + path + " is not a coefficient file of flatfield calibrate");
  }
  return flat;
}

Json MeanAndDeviation(const cv::Mat& bgr, const std::string& prefix) {
  cv::Mat grey;
  cv::cvtColor(bgr, grey, cv::COLOR_BGR2GRAY);
  cv::Scalar mean, deviation;
  cv::meanStdDev(grey, mean, deviation);
  return {{prefix + "mean", static_cast<float>(mean[0])},
          {prefix + "stddev", static_cast<float>(deviation[0])}};
}

void AddApply(CLI::App& flatfield) {
  auto coefficients = std::make_shared<std::string>();
  auto flat = std::make_shared<imgtarn::FlatFieldCoefficients>();
  ImageCommand& command =
      AddImageCommand(flatfield, "flatfield apply", "correct an image with flat-field coefficients",
                      Pixels::Colour, false);
  const Output& output = AddOutput(command, "-o,--output", "where to write the result", true);
  command.app->add_option("--coeffs", *coefficients, "coefficients written by calibrate")
      ->required();
  command.prepare = [coefficients, flat] { *flat = ReadCoefficients(*coefficients); };
  command.run = [flat, &output](Job& job) {
    const cv::Mat corrected = imgtarn::ApplyFlatField(job.image, *flat);
    job.result.update(MeanAndDeviation(corrected, ""));
    job.result.update(MeanAndDeviation(job.image, "input_"));
    job.Write(output, corrected);
  };
}

// ---------------------------------------------------------------------------------------------

void AddMedian(CLI::App& app) {
  auto options = std::make_shared<imgtarn::MedianOptions>();
  ImageCommand& command = AddImageCommand(
      app, "median", "windowed median filter of a float height map", Pixels::Heights, false);
  const Output& output = AddOutput(command, "-o,--output", "filtered heights (.tiff keeps floats)",
                                   true, {"", "", ".tiff", true});
  command.app->add_option("--window", options->window, "window side in samples")
      ->capture_default_str();
  auto* lower = command.app->add_option("--lower", options->lower,
                                        "ignore samples at or below L (with --upper)");
  auto* upper = command.app->add_option("--upper", options->upper,
                                        "ignore samples at or above U (with --lower)");
  lower->needs(upper);
  upper->needs(lower);
  command.app
      ->add_option("--even", options->even,
                   "even sample counts take the lower, upper or mean middle (default mean)")
      ->transform(CLI::CheckedTransformer(
          std::map<std::string, imgtarn::EvenRule>{{"lower", imgtarn::EvenRule::Lower},
                                                   {"upper", imgtarn::EvenRule::Upper},
                                                   {"mean", imgtarn::EvenRule::Mean}}));
  command.prepare = [options, lower, &output] {
    options->limited = lower->count() > 0;
    const std::string extension = fs::path(output.value).extension().string();
    if (!extension.empty() && extension != ".tiff" && extension != ".tif") {
      throw UsageError("--output: filtered heights are floats; write a .tiff");
    }
  };
  command.run = [options, &output](Job& job) {
    const cv::Mat filtered = imgtarn::MedianFilter(job.image, *options);
    job.result["window"] = options->window;
    job.result["changed"] = cv::countNonZero(filtered != job.image);
    job.result["input"] = Stats(job.image);
    job.result["filtered"] = Stats(filtered);
    job.Write(output, filtered);
  };
}

struct ResizeInputs {
  cv::Size2f size;
  imgtarn::ResizeOptions options;
};

void AddResize(CLI::App& app) {
  auto in = std::make_shared<ResizeInputs>();
  ImageCommand& command =
      AddImageCommand(app, "resize", "scale the planes of a colour image", Pixels::Colour, false);
  const Output& output = AddOutput(command, "-o,--output", "where to write the result", true);
  AddSize(command.app, "--size", in->size, "size of the result")->required();
  command.app->add_flag_callback(
      "--cubic", [in] { in->options.interpolation = imgtarn::Interpolation::Cubic; },
      "bicubic interpolation (default bilinear)");
  command.run = [in, &output](Job& job) {
    const cv::Mat resized = imgtarn::Resize(job.image, in->size, in->options);
    const bool cubic = in->options.interpolation == imgtarn::Interpolation::Cubic;
    job.result["interpolation"] = cubic ? "cubic" : "linear";
    job.result["output_width"] = resized.cols;
    job.result["output_height"] = resized.rows;
    job.Write(output, resized);
  };
}

void AddLevels(CLI::App& app) {
  ImageCommand& command = AddImageCommand(
      app, "levels", "most frequent level of each colour channel", Pixels::Colour, false);
  command.run = [](Job& job) { job.result["levels"] = Levels(imgtarn::DominantLevels(job.image)); };
}

struct SortInputs {
  std::vector<int> values;
  imgtarn::SortOptions options;
};

void AddSort(CLI::App& app) {
  auto in = std::make_shared<SortInputs>();
  CLI::App* sub = app.add_subcommand("sort", "counting sort of whole numbers with the permutation");
  sub->add_option("VALUES", in->values, "whole numbers")->required();
  sub->add_flag("--descending", in->options.descending, "largest first");
  sub->add_option("--first", in->options.first,
                  "stop once the first K values are delivered (default 0: all)");
  sub->callback([in] {
    ExitStatus() = RunOnce("sort", [in](Json& result) {
      const imgtarn::SortResult sorted = imgtarn::CountingSort(in->values, in->options);
      result["values"] = sorted.values;
      result["permutation"] = sorted.permutation;
    });
  });
}

}  // namespace

void AddBufferCommands(CLI::App& app) {
  AddFillHoles(app);
  CLI::App* flatfield = app.add_subcommand("flatfield", "flat-field calibration and correction")
                            ->require_subcommand(1);
  AddCalibrate(*flatfield);
  AddApply(*flatfield);
  AddMedian(app);
  AddResize(app);
  AddLevels(app);
  AddSort(app);
}

}  // namespace imgtarn_cli
