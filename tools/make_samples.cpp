// Writes the bundled sample images and their ground truth (samples/ground_truth.json).
//
// Every sample is drawn from a fixed seed, so running it again gives the same files. The
// answers are known by construction: a disc drawn at (150, 110) has its centre there.
//
//   make_samples OUTPUT_DIR
#include <cmath>
#include <cstdio>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

namespace {

const cv::Size kBoard(320, 240);

std::string outDir;
std::string truth;  // the members of the ground-truth object, written as they are made

void Save(const std::string& name, const cv::Mat& image) {
  std::string path = outDir + "/" + name;
  if (!cv::imwrite(path, image)) {
    std::fprintf(stderr, "make_samples: cannot write %s\n", path.c_str());
    std::exit(1);
  }
}

void Truth(const std::string& key, const std::string& body) {
  truth += (truth.empty() ? "" : ",\n") + std::string("  \"") + key + "\": {" + body + "}";
}

std::string Num(double v) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%g", v);
  return buffer;
}

// A dark board with a little sensor noise.
cv::Mat Board(cv::RNG& rng, int level, double noise, cv::Size size = kBoard) {
  cv::Mat board(size, CV_8UC1, cv::Scalar(level));
  cv::Mat grain(size, CV_16SC1);
  rng.fill(grain, cv::RNG::NORMAL, 0, noise);
  cv::Mat sum;
  board.convertTo(sum, CV_16SC1);
  sum += grain;
  sum.convertTo(board, CV_8UC1);
  return board;
}

// Optics soften every edge a little.
cv::Mat Soften(const cv::Mat& image) {
  cv::Mat soft;
  cv::GaussianBlur(image, soft, cv::Size(3, 3), 0.8);
  return soft;
}

void CircleSample(const std::string& key, cv::Point centre, int radius, double noise, bool clutter,
                  unsigned seed) {
  cv::RNG rng(seed);
  cv::Mat board(kBoard, CV_8UC1, cv::Scalar(45));
  if (clutter) {
    // Dim solder specks that are neither round enough nor the right size.
    for (int i = 0; i < 6; ++i) {
      cv::Point p(rng.uniform(10, kBoard.width - 10), rng.uniform(10, kBoard.height - 10));
      if (cv::norm(p - centre) < radius * 3) continue;
      cv::rectangle(board, cv::Rect(p, cv::Size(rng.uniform(4, 14), rng.uniform(3, 8))),
                    cv::Scalar(110), cv::FILLED);
    }
  }
  cv::circle(board, centre, radius, cv::Scalar(215), cv::FILLED, cv::LINE_8);
  cv::Mat image = Soften(board), noisy;
  cv::Mat grain(kBoard, CV_16SC1);
  rng.fill(grain, cv::RNG::NORMAL, 0, noise);
  image.convertTo(noisy, CV_16SC1);
  noisy += grain;
  noisy.convertTo(image, CV_8UC1);
  Save(key + ".png", image);
  Truth(key, "\"file\": \"" + key + ".png\", \"x\": " + Num(centre.x) +
                 ", \"y\": " + Num(centre.y) + ", \"radius\": " + Num(radius));
}

// A plus sign whose bars are a third of its size, as fiducial crosses are made.
void CrossSample() {
  cv::RNG rng(11);
  cv::Mat board = Board(rng, 35, 3);
  const cv::Point c(148, 126);
  const int size = 60, bar = size / 3;
  cv::rectangle(board, cv::Rect(c.x - size / 2, c.y - bar / 2, size, bar), cv::Scalar(205),
                cv::FILLED);
  cv::rectangle(board, cv::Rect(c.x - bar / 2, c.y - size / 2, bar, size), cv::Scalar(205),
                cv::FILLED);
  Save("cross.png", Soften(board));
  // The centre of the pixels covered: an even-sized bar starting at c - 30 centres on c - 0.5.
  Truth("cross", "\"file\": \"cross.png\", \"x\": " + Num(c.x - 0.5) + ", \"y\": " +
                     Num(c.y - 0.5) + ", \"width\": " + Num(size) + ", \"height\": " + Num(size));
}

void RectSample() {
  cv::RNG rng(12);
  cv::Mat board = Board(rng, 40, 3);
  const cv::Point c(170, 110);
  const cv::Size size(80, 50);
  cv::rectangle(board,
                cv::Rect(c.x - size.width / 2, c.y - size.height / 2, size.width, size.height),
                cv::Scalar(200), cv::FILLED);
  Save("rect.png", Soften(board));
  Truth("rect", "\"file\": \"rect.png\", \"x\": " + Num(c.x - 0.5) + ", \"y\": " + Num(c.y - 0.5) +
                    ", \"width\": " + Num(size.width) + ", \"height\": " + Num(size.height));
}

// A row of three solder pads, and a later picture of the same pads slightly moved.
void PadSamples() {
  const std::vector<cv::Rect> pads = {{60, 90, 40, 60}, {140, 90, 40, 60}, {220, 90, 40, 60}};
  cv::RNG rng(13);
  cv::Mat reference = Board(rng, 50, 3);
  for (const auto& pad : pads) cv::rectangle(reference, pad, cv::Scalar(200), cv::FILLED);
  Save("pads.png", Soften(reference));
  cv::Mat scene = Board(rng, 55, 4);
  const cv::Point shift(5, 3);
  for (const auto& pad : pads) cv::rectangle(scene, pad + shift, cv::Scalar(195), cv::FILLED);
  Save("pads_scene.png", Soften(scene));
  std::string list;
  for (const auto& pad : pads) {
    list += std::string(list.empty() ? "" : ", ") + "{\"x\": " + Num(pad.x) +
            ", \"y\": " + Num(pad.y) + ", \"width\": " + Num(pad.width) +
            ", \"height\": " + Num(pad.height) + "}";
  }
  Truth("pads",
        "\"file\": \"pads.png\", \"scene\": \"pads_scene.png\", \"grid_rows\": 1, "
        "\"grid_cols\": 3, \"pads\": [" +
            list + "]");
}

// CAD masks of one pad: the boundary around it, the drawn pad, and two measured blobs.
void OverlaySamples() {
  const cv::Size size(120, 120);
  cv::Mat boundary(size, CV_8UC1, cv::Scalar(0));
  cv::rectangle(boundary, cv::Rect(20, 20, 80, 80), cv::Scalar(255), cv::FILLED);
  cv::Mat cad(size, CV_8UC1, cv::Scalar(0));
  const cv::Rect pad(40, 42, 40, 36);
  cv::rectangle(cad, pad, cv::Scalar(255), cv::FILLED);
  cv::Mat shifted(size, CV_8UC1, cv::Scalar(0));
  const cv::Point shift(6, 3);
  cv::rectangle(shifted, pad + shift, cv::Scalar(255), cv::FILLED);
  Save("pad_boundary.png", boundary);
  Save("pad_cad.png", cad);
  Save("pad_measured.png", shifted);
  Truth("overlay_exact",
        "\"boundary\": \"pad_boundary.png\", \"cad\": \"pad_cad.png\", "
        "\"measured\": \"pad_cad.png\", \"score\": 1");
  Truth("overlay_shifted",
        "\"boundary\": \"pad_boundary.png\", \"cad\": \"pad_cad.png\", "
        "\"measured\": \"pad_measured.png\", \"dx\": " +
            Num(shift.x) + ", \"dy\": " + Num(shift.y) + ", \"score_below\": 1");
}

// A colour area with black holes in it (three planes: B, G, R as OpenCV stores them).
void HoleSample() {
  cv::RNG rng(14);
  const cv::Vec3b colour(60, 120, 180);  // B, G, R
  cv::Mat image(kBoard, CV_8UC3, cv::Scalar(110, 90, 90));
  cv::rectangle(image, cv::Rect(40, 30, 240, 180), cv::Scalar(colour), cv::FILLED);
  cv::Mat holes(kBoard, CV_8UC1, cv::Scalar(0));
  for (int i = 0; i < 14; ++i) {
    cv::Point p(rng.uniform(55, 265), rng.uniform(45, 195));
    cv::circle(holes, p, rng.uniform(2, 6), cv::Scalar(255), cv::FILLED);
  }
  image.setTo(cv::Scalar(rng.uniform(0, 3), rng.uniform(0, 3), rng.uniform(0, 3)), holes);
  Save("holes.png", image);
  Truth("holes", "\"file\": \"holes.png\", \"colour\": {\"r\": " + Num(colour[2]) +
                     ", \"g\": " + Num(colour[1]) + ", \"b\": " + Num(colour[0]) +
                     "}, \"hole_pixels\": " + Num(cv::countNonZero(holes)));
}

// A flat white target under a vignetting lens, at two illumination levels.
void FlatFieldSamples() {
  const cv::Size size(160, 120);
  cv::RNG rng(15);
  auto shot = [&](double level) {
    cv::Mat image(size, CV_8UC3);
    const double cx = size.width / 2.0, cy = size.height / 2.0;
    const double reach = std::hypot(cx, cy);
    const cv::Vec3d tint(0.92, 1.0, 1.06);  // the channels' own sensitivities
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        double r = std::hypot(x - cx, y - cy) / reach;
        double falloff = 1.0 - 0.35 * r * r;
        for (int c = 0; c < 3; ++c) {
          double v = level * falloff * tint[c] + rng.gaussian(1.0);
          image.at<cv::Vec3b>(y, x)[c] = cv::saturate_cast<uchar>(v);
        }
      }
    }
    return image;
  };
  Save("flat_low.png", shot(90));
  Save("flat_high.png", shot(190));
  Truth("flatfield",
        "\"low\": \"flat_low.png\", \"high\": \"flat_high.png\", "
        "\"target_low\": 128, \"window\": 5");
}

// A height map (micrometres) with spikes where the sensor saw nothing useful.
void HeightSamples() {
  const cv::Size size(64, 48);
  cv::RNG rng(16);
  cv::Mat clean(size, CV_32FC1);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      double bump = 80.0 * std::exp(-(std::pow(x - 32.0, 2) + std::pow(y - 24.0, 2)) / 120.0);
      clean.at<float>(y, x) = static_cast<float>(20.0 + 0.5 * x + 0.25 * y + bump);
    }
  }
  cv::Mat spiky = clean.clone();
  const int spikes = 30;
  for (int i = 0; i < spikes; ++i) {
    // Lone spikes away from each other, so a 3x3 window always holds a majority of good ones.
    int x = 2 + 6 * (i % 10) + rng.uniform(0, 3), y = 3 + 15 * (i / 10) + rng.uniform(0, 3);
    spiky.at<float>(y, x) = (i % 2) ? 900.0f : -500.0f;
  }
  Save("heights.tiff", spiky);
  Save("heights_clean.tiff", clean);
  Truth("heights",
        "\"file\": \"heights.tiff\", \"clean\": \"heights_clean.tiff\", "
        "\"spikes\": " +
            Num(spikes) + ", \"window\": 3");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_samples OUTPUT_DIR\n");
    return 2;
  }
  outDir = argv[1];
  CircleSample("circle_inside", {150, 110}, 20, 3.0, false, 1);
  CircleSample("circle_border", {306, 120}, 20, 3.0, false, 2);
  CircleSample("circle_noisy", {170, 130}, 20, 18.0, true, 3);
  // Without sensor noise, so that the edge map shows the outline alone.
  CircleSample("disc_clean", {160, 120}, 30, 0.0, false, 4);
  CrossSample();
  RectSample();
  PadSamples();
  OverlaySamples();
  HoleSample();
  FlatFieldSamples();
  HeightSamples();
  std::FILE* file = std::fopen((outDir + "/ground_truth.json").c_str(), "w");
  if (file == nullptr) {
    std::fprintf(stderr, "make_samples: cannot write %s/ground_truth.json\n", outDir.c_str());
    return 1;
  }
  std::fprintf(file, "{\n%s\n}\n", truth.c_str());
  std::fclose(file);
  return 0;
}
