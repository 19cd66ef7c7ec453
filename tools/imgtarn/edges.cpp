// Edges: canny, the detector that picks its own thresholds.
#include <memory>

#include "cli.hpp"

namespace imgtarn_cli {

void AddEdgeCommands(CLI::App& app) {
  auto options = std::make_shared<imgtarn::EdgeOptions>();
  ImageCommand& command =
      AddImageCommand(app, "canny", "edge map with thresholds taken from the image's gradients",
                      Pixels::Grey, true);
  const Output& output =
      AddOutput(command, "-o,--output", "write the edge map (255 on edges) there", false);
  command.app->add_flag("--fill", options->fill,
                        "instead of edges, fill the closed shapes they outline");
  command.app
      ->add_option("--min-area", options->minArea,
                   "with --fill: leave out shapes smaller than this many pixels")
      ->capture_default_str();
  AddDebug(command, options->debug);
  command.run = [options, &output](Job& job) {
    const imgtarn::EdgeResult edges = imgtarn::DetectEdges(job.image, *options);
    job.result["low_threshold"] = edges.lowThreshold;
    job.result["high_threshold"] = edges.highThreshold;
    job.result["edge_pixels"] = edges.edgePixels;
    if (options->fill) {
      job.result["contours"] = edges.contours;
      job.result["filled_pixels"] = cv::countNonZero(edges.edges);
    }
    job.Write(output, edges.edges);
    if (job.annotate) {
      job.annotation = annotate::Canvas(job.image);
      job.annotation.setTo(annotate::kFound, edges.edges != 0);
    }
  };
}

}  // namespace imgtarn_cli
