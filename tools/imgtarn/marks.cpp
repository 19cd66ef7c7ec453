// Fiducial marks: fiducial, circle-mark, hough-circles, circle-edges, hough-demo, cross-mark
// and rect-mark.
#include <cstdlib>
#include <map>
#include <memory>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

Json Pair(float a, float b) { return Json::array({a, b}); }

void PutCircle(Job& job, const imgtarn::CircleMarkResult& circle) {
  job.result["found"] = circle.found;
  job.result["x"] = circle.centre.x;
  job.result["y"] = circle.centre.y;
  job.result["radius"] = circle.radius;
  if (job.annotate) {
    job.annotation = annotate::CircleMark(job.image, circle.found, circle.centre, circle.radius);
  }
}

void AddCircleMark(CLI::App& app) {
  auto options = std::make_shared<imgtarn::CircleMarkOptions>();
  ImageCommand& command =
      AddImageCommand(app, "circle-mark", "locate a bright circular fiducial mark of known radius",
                      Pixels::Grey, true);
  command.app->add_option("--radius", options->radius, "nominal radius of the mark in pixels")
      ->required();
  auto* quick = command.app->add_flag_callback(
      "--quick", [options] { options->method = imgtarn::CircleMethod::Quick; },
      "the template search alone (small marks, radius below about 12)");
  command.app
      ->add_flag_callback(
          "--half", [options] { options->method = imgtarn::CircleMethod::TwoScale; },
          "the edge search on the image halved, then at full size")
      ->excludes(quick);
  AddDebug(command, options->debug);
  command.run = [options](Job& job) {
    static const char* const kMethods[] = {"full", "quick", "half"};
    job.result["method"] = kMethods[static_cast<int>(options->method)];
    job.result["expected_radius"] = options->radius;
    PutCircle(job, imgtarn::LocateCircleMark(job.image, *options));
  };
}

void AddHoughCircles(CLI::App& app) {
  auto options = std::make_shared<imgtarn::HoughCircleOptions>();
  ImageCommand& command = AddImageCommand(
      app, "hough-circles", "find the Hough circle nearest a radius", Pixels::Grey, true);
  command.app->add_option("--radius", options->radius, "expected radius")->required();
  command.app
      ->add_option("--tolerance", options->tolerance,
                   "radii searched: radius - T .. radius + T (truncated)")
      ->capture_default_str();
  command.app
      ->add_option("--param1", options->threshold, "upper Canny threshold of the Hough search")
      ->capture_default_str();
  command.run = [options](Job& job) {
    job.result["expected_radius"] = options->radius;
    PutCircle(job, imgtarn::DetectHoughCircle(job.image, *options));
  };
}

struct CircleEdgeInputs {
  cv::Point2f centre;
  imgtarn::CircleEdgeOptions options;
};

void AddCircleEdges(CLI::App& app) {
  auto in = std::make_shared<CircleEdgeInputs>();
  ImageCommand& command = AddImageCommand(
      app, "circle-edges", "refine a circle from a known centre by its edge", Pixels::Grey, true);
  AddPoint(command.app, "--centre", in->centre, "centre to start from (required)")->required();
  command.app
      ->add_option("--radius", in->options.radius,
                   "radius to start from; rays run 0.5 to 1.5 times it")
      ->required();
  command.run = [in](Job& job) {
    const imgtarn::CircleEdgeResult edge =
        imgtarn::RefineCircleEdges(job.image, in->centre, in->options);
    job.result["start"] = Pair(in->centre.x, in->centre.y);
    job.result["expected_radius"] = in->options.radius;
    job.result["found"] = edge.found;
    job.result["x"] = edge.centre.x;
    job.result["y"] = edge.centre.y;
    job.result["radius"] = (edge.semiAxes.width + edge.semiAxes.height) * 0.5f;
    job.result["semi_axes"] = Pair(edge.semiAxes.width, edge.semiAxes.height);
    job.result["angle"] = edge.angle;
    if (!job.annotate) return;
    job.annotation = annotate::Canvas(job.image);
    annotate::CentreCross(job.annotation, in->centre, annotate::kNote, 4);
    if (edge.found) {
      annotate::Ellipse(job.annotation, {edge.centre, edge.semiAxes * 2.0f, edge.angle},
                        annotate::kFound);
      annotate::CentreCross(job.annotation, edge.centre, annotate::kFound);
    }
    annotate::Caption(job.annotation, edge.found ? "edge fitted" : "no edge found");
  };
}

// The demo of the contract reads the file itself and only shows windows, so the result says
// whether there was a display to show them on.
void AddHoughDemo(CLI::App& app) {
  ImageCommand& command = AddImageCommand(
      app, "hough-demo", "show a picture's Sobel edges and every Hough circle in windows",
      Pixels::Grey, false);
  command.serial = true;
  command.run = [](Job& job) {
    std::string path = job.path.string();
    ExpectRan(Contract().HoughCircleDemo(reinterpret_cast<unsigned char*>(path.data())));
    bool display = std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
    job.result["display"] = display;
    job.result["windows"] = display ? Json{"Sobel Edges", "Hough Circles"} : Json::array();
  };
}

using BoxLocator = imgtarn::BoxMarkResult (*)(const cv::Mat&, const imgtarn::BoxMarkOptions&);

void AddBoxMark(CLI::App& app, const std::string& name, const std::string& summary,
                BoxLocator locate) {
  auto options = std::make_shared<imgtarn::BoxMarkOptions>();
  ImageCommand& command = AddImageCommand(app, name, summary, Pixels::Grey, true);
  AddSize(command.app, "--size", options->size, "full nominal width and height (required)")
      ->required();
  AddDebug(command, options->debug);
  command.run = [options, locate](Job& job) {
    const imgtarn::BoxMarkResult mark = locate(job.image, *options);
    job.result["expected_size"] = Pair(options->size.width, options->size.height);
    job.result["found"] = mark.found;
    job.result["x"] = mark.centre.x;
    job.result["y"] = mark.centre.y;
    job.result["size"] = Pair(mark.size.width, mark.size.height);
    if (job.annotate) {
      job.annotation = annotate::BoxMark(job.image, mark.found, mark.centre, mark.size);
    }
  };
}

// The library's best answer for one mark: centre, measured size, score and the search that
// proposed it.
void AddFiducial(CLI::App& app) {
  auto options = std::make_shared<imgtarn::FiducialOptions>();
  ImageCommand& command = AddImageCommand(
      app, "fiducial", "locate one mark of known shape and size to a fraction of a pixel",
      Pixels::Grey, true);
  const std::map<std::string, imgtarn::FiducialShape> shapes = {
      {"circle", imgtarn::FiducialShape::Circle},
      {"cross", imgtarn::FiducialShape::Cross},
      {"rect", imgtarn::FiducialShape::Rectangle}};
  command.app->add_option("--shape", options->shape, "circle, cross or rect (default circle)")
      ->transform(CLI::CheckedTransformer(shapes));
  command.app->add_option("--radius", options->radius, "circle: nominal radius in pixels")
      ->capture_default_str();
  AddSize(command.app, "--size", options->size, "cross, rect: full nominal size (default 40x40)");
  command.app
      ->add_option_function<std::array<int, 4>>(
          "--window",
          [options](const std::array<int, 4>& w) {
            options->window = {w[0], w[1], w[2], w[3]};
          },
          "search only there (default: everywhere)")
      ->delimiter(',')
      ->type_name("X,Y,W,H");
  command.run = [options](Job& job) {
    const imgtarn::FiducialResult mark = imgtarn::LocateFiducial(job.image, *options);
    const bool circle = options->shape == imgtarn::FiducialShape::Circle;
    job.result["found"] = mark.found;
    job.result["x"] = mark.centre.x;
    job.result["y"] = mark.centre.y;
    job.result["size"] = Pair(mark.size.width, mark.size.height);
    if (circle) job.result["radius"] = mark.radius;
    job.result["score"] = mark.score;
    job.result["stage"] = imgtarn::FiducialStageName(mark.stage);
    if (!job.annotate) return;
    job.annotation = circle ? annotate::CircleMark(job.image, mark.found, mark.centre, mark.radius)
                            : annotate::BoxMark(job.image, mark.found, mark.centre, mark.size);
  };
}

}  // namespace

void AddMarkCommands(CLI::App& app) {
  AddFiducial(app);
  AddCircleMark(app);
  AddHoughCircles(app);
  AddCircleEdges(app);
  AddHoughDemo(app);
  AddBoxMark(app, "cross-mark", "locate a bright plus-shaped fiducial mark",
             imgtarn::LocateCrossMark);
  AddBoxMark(app, "rect-mark", "locate a bright rectangular fiducial mark",
             imgtarn::LocateRectangleMark);
}

}  // namespace imgtarn_cli
