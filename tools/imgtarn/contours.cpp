// Contour utilities on a thresholded plane: contours count, rects, mask, outline, rings,
// moments, polygons, ring and fill. The typed API has no contour operations, so these call the
// contract's methods, whose para arrays start alike: width, height, threshold, one value of the
// step's own, the debug switch; what they write back starts at [5].
#include <memory>
#include <opencv2/imgproc.hpp>
#include <sstream>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

// Per-blob entries beyond this many are counted but not listed.
constexpr int kListed = 256;

struct Step {
  ImageCommand* command = nullptr;
  int threshold = 127;
  bool debug = false;
};

std::shared_ptr<Step> AddStep(CLI::App& contours, const std::string& name,
                              const std::string& summary, bool annotates,
                              Pixels pixels = Pixels::Grey) {
  auto step = std::make_shared<Step>();
  step->command = &AddImageCommand(contours, "contours " + name, summary, pixels, annotates);
  step->command->app
      ->add_option("--threshold", step->threshold, "samples above LEVEL are foreground")
      ->capture_default_str();
  AddDebug(*step->command, step->debug);
  return step;
}

std::vector<float> Para(const Step& step, const cv::Mat& grey, float own, std::size_t size) {
  std::vector<float> para(size, 0.0f);
  para[0] = static_cast<float>(grey.cols);
  para[1] = static_cast<float>(grey.rows);
  para[2] = static_cast<float>(step.threshold);
  para[3] = own;
  para[4] = step.debug ? 1.0f : 0.0f;
  return para;
}

// Counts and pixel positions travel as floats; they print as the whole numbers they are.
int Whole(float value) { return static_cast<int>(value); }
std::vector<int> Wholes(const float* values, int count) {
  return std::vector<int>(values, values + count);
}

int Listed(float count) { return std::min(Whole(count), kListed); }

cv::Mat Grey(const cv::Mat& image) {
  if (image.channels() == 1) return image;
  cv::Mat grey;
  cv::cvtColor(image, grey, cv::COLOR_BGR2GRAY);
  return grey;
}

// The contract's outline drawing over the three channels of a colour copy of the image.
cv::Mat DrawOutlines(const Step& step, const cv::Mat& image, float thickness,
                     const std::array<int, 3>& rgb, float* contours) {
  cv::Mat grey = Grey(image), planes[3];
  cv::split(annotate::Canvas(image), planes);
  std::vector<float> para = Para(step, grey, thickness, 9);
  for (int i = 0; i < 3; ++i) para[static_cast<std::size_t>(5 + i)] = static_cast<float>(rgb[i]);
  ExpectRan(Contract().DrawContoursAllExternal(grey.data, para.data(), planes[2].data,
                                               planes[1].data, planes[0].data));
  *contours = para[8];
  cv::Mat canvas;
  cv::merge(planes, 3, canvas);
  return canvas;
}

cv::Mat Highlight(const cv::Mat& image, const cv::Mat& mask) {
  cv::Mat canvas = annotate::Canvas(image);
  canvas.setTo(annotate::kFound, mask != 0);
  return canvas;
}

// A mask option (--region, --inner, --copy-from): read once, and of the image's size, since
// the operation reads it as a plane of that size.
struct Mask {
  std::string path;
  cv::Mat pixels;
  unsigned char* For(const Job& job, const std::string& option) {
    if (path.empty()) return nullptr;
    if (pixels.size() != job.image.size()) {
      throw std::runtime_error(option + " " + path + " must have the image's size");
    }
    return pixels.data;
  }
};

std::shared_ptr<Mask> AddMask(Step& step, const std::string& option, const std::string& help) {
  auto mask = std::make_shared<Mask>();
  step.command->app->add_option(option, mask->path, help);
  step.command->prepare = [mask] {
    if (!mask->path.empty()) mask->pixels = LoadPixels(mask->path, Pixels::Grey);
  };
  return mask;
}

void AddCount(CLI::App& contours) {
  auto step = AddStep(contours, "count", "pixels enclosed by each blob's outer contour", true);
  auto outline = std::make_shared<bool>(false);
  step->command->app->add_flag("--outline", *outline,
                               "count the pixels on each outer contour instead");
  step->command->run = [step, outline](Job& job) {
    std::vector<float> para = Para(*step, job.image, *outline ? 1.0f : 0.0f, 6);
    para[5] = kListed;
    std::vector<float> out(2 + kListed);
    ExpectRan(Contract().CountContourPixels(job.image.data, para.data(), nullptr, out.data()));
    job.result["mode"] = *outline ? "outline" : "enclosed";
    job.result["total_pixels"] = Whole(out[0]);
    job.result["contours"] = Whole(out[1]);
    job.result["pixels"] = Wholes(&out[2], Listed(out[1]));
    float drawn = 0.0f;
    if (job.annotate) job.annotation = DrawOutlines(*step, job.image, 1, {0, 220, 0}, &drawn);
  };
}

Json Rects(const float* r, int count) {
  Json list = Json::array();
  for (int i = 0; i < count; ++i, r += 4) {
    list.push_back(
        {{"x", Whole(r[0])}, {"y", Whole(r[1])}, {"width", Whole(r[2])}, {"height", Whole(r[3])}});
  }
  return list;
}

void AddRects(CLI::App& contours) {
  auto step = AddStep(contours, "rects", "blob rectangles after an opening and a closing", true);
  auto radii = std::make_shared<std::array<int, 2>>(std::array<int, 2>{1, 0});
  step->command->app->add_option("--open", (*radii)[0], "opening radius that drops specks")
      ->capture_default_str();
  step->command->app->add_option("--close", (*radii)[1], "closing radius that bridges gaps")
      ->capture_default_str();
  step->command->run = [step, radii](Job& job) {
    std::vector<float> para =
        Para(*step, job.image, static_cast<float>((*radii)[0]), 8 + 4 * kListed);
    para[5] = static_cast<float>((*radii)[1]);
    para[6] = kListed;
    ExpectRan(Contract().MorphBoundingRects(job.image.data, para.data()));
    job.result["blobs"] = Whole(para[7]);
    job.result["rects"] = Rects(&para[8], Listed(para[7]));
    if (!job.annotate) return;
    job.annotation = annotate::Canvas(job.image);
    for (int i = 0; i < Listed(para[7]); ++i) {
      const float* r = &para[static_cast<std::size_t>(8 + 4 * i)];
      annotate::Box(job.annotation, cv::Rect2f(r[0], r[1], r[2], r[3]), annotate::kFound);
    }
  };
}

void AddMaskStep(CLI::App& contours) {
  auto step = AddStep(contours, "mask", "filled mask of the blobs, holes included", false);
  auto minPixels = std::make_shared<int>(0);
  const Output& output = AddOutput(*step->command, "-o,--output", "the mask", true);
  step->command->app->add_option("--min-pixels", *minPixels, "leave out smaller blobs")
      ->capture_default_str();
  step->command->run = [step, minPixels, &output](Job& job) {
    std::vector<float> para = Para(*step, job.image, static_cast<float>(*minPixels), 7);
    cv::Mat mask(job.image.size(), CV_8UC1, cv::Scalar(0));
    ExpectRan(Contract().DrawContourMask(mask.data, job.image.data, para.data()));
    job.result["blobs"] = Whole(para[5]);
    job.result["mask_pixels"] = Whole(para[6]);
    job.Write(output, mask);
  };
}

void AddOutline(CLI::App& contours) {
  auto step = AddStep(contours, "outline", "every outer contour drawn over the image", false,
                      Pixels::Colour);
  auto thickness = std::make_shared<int>(1);
  auto colour = std::make_shared<std::array<int, 3>>(std::array<int, 3>{0, 255, 0});
  const Output& output = AddOutput(*step->command, "-o,--output", "the picture", true);
  step->command->app->add_option("--thickness", *thickness, "line width")->capture_default_str();
  step->command->app->add_option("--colour", *colour, "line colour")
      ->delimiter(',')
      ->type_name("R,G,B");
  step->command->run = [step, thickness, colour, &output](Job& job) {
    float drawn = 0.0f;
    const cv::Mat picture =
        DrawOutlines(*step, job.image, static_cast<float>(*thickness), *colour, &drawn);
    job.result["contours"] = Whole(drawn);
    job.Write(output, picture);
  };
}

struct RingLimits {
  int minPixels = 0;
  float minHole = 4.0f;
};

Json Entries(const std::vector<float>& list, float count, bool ring,
             std::vector<cv::Point2f>& centres) {
  Json entries = Json::array();
  for (int i = 0; i < Listed(count); ++i) {
    const float* e = &list[static_cast<std::size_t>(4 * i)];
    entries.push_back({{"x", e[0]}, {"y", e[1]}, {"pixels", Whole(e[2])}});
    if (ring) entries.back()["hole"] = e[3];
    centres.emplace_back(e[0], e[1]);
  }
  return entries;
}

cv::Mat Crosses(const cv::Mat& image, const std::vector<cv::Point2f>& centres) {
  cv::Mat canvas = annotate::Canvas(image);
  for (const cv::Point2f& centre : centres) annotate::CentreCross(canvas, centre, annotate::kFound);
  return canvas;
}

void AddRings(CLI::App& contours) {
  auto step = AddStep(contours, "rings", "blobs sorted into rings (one hole) and solids", true);
  auto limits = std::make_shared<RingLimits>();
  const Output& output = AddOutput(*step->command, "-o,--output", "the ring mask", false);
  step->command->app->add_option("--min-pixels", limits->minPixels, "leave out smaller blobs")
      ->capture_default_str();
  step->command->app->add_option("--min-hole", limits->minHole, "smaller holes are pin holes")
      ->capture_default_str();
  step->command->run = [step, limits, &output](Job& job) {
    std::vector<float> para = Para(*step, job.image, static_cast<float>(limits->minPixels), 11);
    para[5] = limits->minHole;
    para[6] = para[7] = kListed;
    std::vector<float> rings(4 * kListed), solids(4 * kListed);
    cv::Mat ringMask(job.image.size(), CV_8UC1, cv::Scalar(0));
    ExpectRan(Contract().ClassifyRingContours(ringMask.data, nullptr, solids.data(), para.data(),
                                              rings.data(), job.image.data));
    std::vector<cv::Point2f> centres;
    job.result["rings"] = Entries(rings, para[8], true, centres);
    job.result["solids"] = Entries(solids, para[9], false, centres);
    job.result["multi_hole"] = Whole(para[10]);
    job.Write(output, ringMask);
    if (job.annotate) job.annotation = Crosses(job.image, centres);
  };
}

void AddMoments(CLI::App& contours) {
  auto step = AddStep(contours, "moments", "blob areas and centroids", true);
  auto minPixels = std::make_shared<int>(0);
  const Output& output = AddOutput(*step->command, "-o,--output", "the label plane", false);
  step->command->app->add_option("--min-pixels", *minPixels, "leave out smaller blobs")
      ->capture_default_str();
  auto region = AddMask(*step, "--region", "count foreground only where MASK is non-zero");
  step->command->run = [step, minPixels, region, &output](Job& job) {
    std::vector<float> para = Para(*step, job.image, static_cast<float>(*minPixels), 6);
    para[5] = kListed;
    std::vector<float> out(1 + 3 * kListed);
    cv::Mat labels(job.image.size(), CV_8UC1, cv::Scalar(0));
    ExpectRan(Contract().SegmentByMoments(job.image.data, region->For(job, "--region"), para.data(),
                                          labels.data, out.data()));
    job.result["blobs"] = Whole(out[0]);
    Json list = Json::array();
    std::vector<cv::Point2f> centres;
    for (int i = 0; i < Listed(out[0]); ++i) {
      const float* b = &out[static_cast<std::size_t>(1 + 3 * i)];
      list.push_back({{"area", Whole(b[0])}, {"x", b[1]}, {"y", b[2]}});
      centres.emplace_back(b[1], b[2]);
    }
    job.result["list"] = list;
    job.Write(output, labels);
    if (job.annotate) job.annotation = Crosses(job.image, centres);
  };
}

void AddPolygons(CLI::App& contours) {
  auto step = AddStep(contours, "polygons", "polygon approximation of each blob", true);
  auto tolerance = std::make_shared<float>(2.0f);
  const Output& output = AddOutput(*step->command, "-o,--output", "the drawing", false);
  step->command->app->add_option("--tolerance", *tolerance, "Douglas-Peucker tolerance")
      ->capture_default_str();
  step->command->run = [step, tolerance, &output](Job& job) {
    std::vector<float> para = Para(*step, job.image, *tolerance, 6);
    para[5] = kListed;
    std::vector<float> out(1 + kListed);
    cv::Mat drawing(job.image.size(), CV_8UC1, cv::Scalar(0));
    ExpectRan(Contract().ApproxContoursDemo(job.image.data, para.data(), drawing.data, out.data()));
    job.result["contours"] = Whole(out[0]);
    job.result["vertices"] = Wholes(&out[1], Listed(out[0]));
    job.Write(output, drawing);
    if (job.annotate) job.annotation = Highlight(job.image, drawing);
  };
}

// The band around the blob edges, or with --inner the ring of the image's foreground that the
// inner mask leaves uncovered.
void AddRing(CLI::App& contours) {
  auto step = AddStep(contours, "ring", "edge band, or the ring between two masks", true);
  auto radius = std::make_shared<int>(2);
  const Output& output = AddOutput(*step->command, "-o,--output", "the ring", true);
  step->command->app->add_option("--radius", *radius, "band width, or the opening of --inner")
      ->capture_default_str();
  auto inner = AddMask(*step, "--inner", "the ring of the image that MASK leaves uncovered");
  step->command->run = [step, radius, inner, &output](Job& job) {
    std::vector<float> para = Para(*step, job.image, static_cast<float>(*radius), 8);
    cv::Mat ring(job.image.size(), CV_8UC1, cv::Scalar(0));
    unsigned char* innerMask = inner->For(job, "--inner");
    const bool between = innerMask != nullptr;
    ExpectRan(
        between
            ? Contract().MorphRing(job.image.data, innerMask, ring.data, para.data(), 100, nullptr)
            : Contract().MorphRing(ring.data, nullptr, nullptr, para.data(), 0, job.image.data));
    job.result["mode"] = between ? "between" : "band";
    if (between) {
      job.result["ring_pixels"] = Whole(para[5]);
      job.result["pieces"] = Whole(para[6]);
    } else {
      job.result["band_pixels"] = Whole(para[5]);
      job.result["outer_pixels"] = Whole(para[6]);
      job.result["inner_pixels"] = Whole(para[7]);
    }
    job.Write(output, ring);
    if (job.annotate) job.annotation = Highlight(job.image, ring);
  };
}

// "X,Y X,Y X,Y ..." appended to the operation's record: the vertex count, then the points.
void AppendPolygon(const std::string& text, std::vector<int>& record) {
  std::istringstream points(text);
  std::vector<int> coordinates;
  for (std::string point; points >> point;) {
    std::istringstream parts(point);
    int x = 0, y = 0;
    char comma = 0, extra = 0;
    if (!(parts >> x >> comma >> y) || comma != ',' || parts >> extra) {
      throw UsageError("--polygon: '" + point + "' is not a point X,Y");
    }
    coordinates.insert(coordinates.end(), {x, y});
  }
  if (coordinates.empty()) throw UsageError("--polygon: no points in '" + text + "'");
  record.push_back(static_cast<int>(coordinates.size() / 2));
  record.insert(record.end(), coordinates.begin(), coordinates.end());
}

struct Fill {
  std::vector<std::string> polygons;
  std::vector<int> record;
  int level = 255;
};

void AddFill(CLI::App& contours) {
  auto step = AddStep(contours, "fill", "polygons filled in", false);
  auto fill = std::make_shared<Fill>();
  const Output& output = AddOutput(*step->command, "-o,--output", "the filled image", true);
  step->command->app->add_option("--polygon", fill->polygons, "a polygon to fill (repeat for more)")
      ->required()
      ->allow_extra_args(false)
      ->type_name("\"X,Y X,Y ...\"");
  step->command->app->add_option("--level", fill->level, "level filled in")->capture_default_str();
  auto source = AddMask(*step, "--copy-from", "copy this image's samples inside instead");
  auto readSource = step->command->prepare;
  step->command->prepare = [fill, readSource] {
    fill->record = {static_cast<int>(fill->polygons.size())};
    for (const std::string& text : fill->polygons) AppendPolygon(text, fill->record);
    readSource();
  };
  step->command->run = [step, fill, source, &output](Job& job) {
    // [2] is the fill level here, not a threshold; [3] the record's length.
    std::vector<float> para = Para(*step, job.image, static_cast<float>(fill->record.size()), 7);
    para[2] = static_cast<float>(fill->level);
    cv::Mat target = job.image.clone();
    std::vector<int> record = fill->record;
    ExpectRan(Contract().FillContours(target.data, para.data(), nullptr, record.data(),
                                      source->For(job, "--copy-from")));
    job.result["polygons"] = Whole(para[5]);
    job.result["filled_pixels"] = Whole(para[6]);
    job.result["changed"] = cv::countNonZero(target != job.image);
    job.Write(output, target);
  };
}

}  // namespace

void AddContourCommands(CLI::App& app) {
  CLI::App* contours = app.add_subcommand("contours", "contour utilities on a thresholded plane")
                           ->require_subcommand(1);
  for (auto add : {AddCount, AddRects, AddMaskStep, AddOutline, AddRings, AddMoments, AddPolygons,
                   AddRing, AddFill}) {
    add(*contours);
  }
}

}  // namespace imgtarn_cli
