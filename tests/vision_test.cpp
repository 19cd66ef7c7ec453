// The typed API against the binary contract: family by family on the bundled samples, a typed
// call and the slot it stands for give the same numbers, and input a slot refuses raises
// InvalidArgument naming the argument.
#include <gtest/gtest.h>

#include <functional>
#include <imgtarn/imgtarn.hpp>
#include <imgtarn/vision.hpp>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

namespace {

using Numbers = std::vector<double>;

const std::string kSamples = std::string(IMGTARN_SOURCE_DIR) + "/samples/";

cv::Mat Grey(const std::string& file) { return cv::imread(kSamples + file, cv::IMREAD_GRAYSCALE); }

struct ImgDeleter {
  void operator()(ImgTarn_IF* object) const { ImgTarn_IFRelease(object); }
};

ImgTarn_IF& Contract() {
  static const std::unique_ptr<ImgTarn_IF, ImgDeleter> object(ImgTarn_IFCreate());
  return *object;
}

float Width(const cv::Mat& image) { return static_cast<float>(image.cols); }
float Height(const cv::Mat& image) { return static_cast<float>(image.rows); }

// ---- Circle marks ----

Numbers TypedCircle(const std::string& file, imgtarn::CircleMethod method, float radius) {
  imgtarn::CircleMarkOptions options;
  options.radius = radius;
  options.method = method;
  const imgtarn::CircleMarkResult mark = imgtarn::LocateCircleMark(Grey(file), options);
  return {mark.found ? 0.0 : -1.0, mark.centre.x, mark.centre.y, mark.radius};
}

Numbers SlotCircle(const std::string& file, imgtarn::CircleMethod method, float radius) {
  cv::Mat plane = Grey(file);
  float para[5] = {Width(plane), Height(plane), radius, 0, 0};
  float result[3] = {};
  int status = 0;
  switch (method) {
    case imgtarn::CircleMethod::Full:
      status = Contract().LocateCircleMark(plane.data, para, nullptr, result);
      break;
    case imgtarn::CircleMethod::Quick:
      status = Contract().LocateCircleMarkQuick(plane.data, para, nullptr, result);
      break;
    case imgtarn::CircleMethod::TwoScale:
      status = Contract().LocateCircleMarkRoi(plane.data, para, nullptr, result);
      break;
  }
  // A search that gives up may leave a half-written centre: the typed result reports none.
  if (status != 0) return {-1.0, 0.0, 0.0, 0.0};
  return {0.0, result[0], result[1], result[2]};
}

std::function<Numbers()> Bind(Numbers (*run)(const std::string&, imgtarn::CircleMethod, float),
                              const std::string& file, imgtarn::CircleMethod method, float radius) {
  return [=] { return run(file, method, radius); };
}

// ---- The table ----

struct FamilyCase {
  std::string name;
  std::function<Numbers()> typed;
  std::function<Numbers()> slot;
  bool answers = true;  // the sample holds what the call looks for: numbers[0] must be 0
};

void PrintTo(const FamilyCase& c, std::ostream* out) { *out << c.name; }

std::vector<FamilyCase> Families() {
  using imgtarn::CircleMethod;
  std::vector<FamilyCase> cases;
  const struct {
    const char* file;
    float radius;
    bool mark;
  } circles[] = {{"circle_inside.png", 20, true},
                 {"circle_border.png", 20, true},
                 {"circle_noisy.png", 20, true},
                 {"disc_clean.png", 30, true},
                 {"pads_scene.png", 20, false}};
  const struct {
    CircleMethod method;
    const char* name;
  } methods[] = {{CircleMethod::Full, "full"},
                 {CircleMethod::Quick, "quick"},
                 {CircleMethod::TwoScale, "two_scale"}};
  for (const auto& circle : circles) {
    for (const auto& method : methods) {
      cases.push_back({std::string("circle_") + method.name + "_" + circle.file,
                       Bind(TypedCircle, circle.file, method.method, circle.radius),
                       Bind(SlotCircle, circle.file, method.method, circle.radius), circle.mark});
    }
  }
  return cases;
}

class TypedAgainstSlot : public ::testing::TestWithParam<FamilyCase> {};

TEST_P(TypedAgainstSlot, GivesTheSlotsNumbers) {
  const Numbers typed = GetParam().typed();
  ASSERT_FALSE(typed.empty());
  if (GetParam().answers) {
    EXPECT_EQ(typed[0], 0.0);
  }
  EXPECT_EQ(typed, GetParam().slot());
}

std::string CaseName(const ::testing::TestParamInfo<FamilyCase>& info) {
  std::string name = info.param.name;
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(Families, TypedAgainstSlot, ::testing::ValuesIn(Families()), CaseName);

// ---- Refused input ----

struct RefusalCase {
  std::string name;
  std::string argument;         // the argument InvalidArgument must name
  std::function<void()> typed;  // must throw
  std::function<int()> slot;    // the contract's status for the same input (-1)
};

void PrintTo(const RefusalCase& c, std::ostream* out) { *out << c.name; }

std::vector<RefusalCase> Refusals() {
  const cv::Mat grey = Grey("circle_inside.png");
  const auto circleSlot = [grey](float radius) {
    return [grey, radius] {
      cv::Mat plane = grey.clone();
      float para[5] = {Width(plane), Height(plane), radius, 0, 0};
      float result[3] = {};
      return Contract().LocateCircleMark(plane.data, para, nullptr, result);
    };
  };
  const auto circleTyped = [](cv::Mat image, float radius) {
    return [image, radius] {
      imgtarn::CircleMarkOptions options;
      options.radius = radius;
      imgtarn::LocateCircleMark(image, options);
    };
  };
  return {
      {"circle_radius_zero", "radius", circleTyped(grey, 0.0f), circleSlot(0.0f)},
      {"circle_radius_beyond_image", "radius", circleTyped(grey, 200.0f), circleSlot(200.0f)},
      {"circle_empty_image", "image", circleTyped(cv::Mat(), 20.0f),
       [] {
         float para[5] = {0, 0, 20, 0, 0}, result[3] = {};
         unsigned char sample = 0;
         return Contract().LocateCircleMark(&sample, para, nullptr, result);
       }},
  };
}

class TypedRefusal : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(TypedRefusal, RaisesInvalidArgumentNamingWhatTheSlotRefuses) {
  EXPECT_EQ(GetParam().slot(), -1);
  try {
    GetParam().typed();
    ADD_FAILURE() << "no exception";
  } catch (const imgtarn::InvalidArgument& error) {
    EXPECT_EQ(error.argument(), GetParam().argument);
    EXPECT_EQ(std::string(error.what()).rfind(GetParam().argument + ": ", 0), 0u) << error.what();
  }
}

std::string RefusalName(const ::testing::TestParamInfo<RefusalCase>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Families, TypedRefusal, ::testing::ValuesIn(Refusals()), RefusalName);

// Input checks common to every function: type, dimensions and views.
TEST(TypedInput, RefusesWrongTypesAndReadsAViewAsAnImageOfItsOwn) {
  const cv::Mat grey = Grey("circle_inside.png");
  EXPECT_THROW(imgtarn::LocateCircleMark(cv::Mat(grey.size(), CV_32FC1)), imgtarn::InvalidArgument);
  EXPECT_THROW(imgtarn::LocateCircleMark(cv::Mat(grey.size(), CV_8UC3)), std::invalid_argument);
  const int dims[3] = {4, 4, 4};
  EXPECT_THROW(imgtarn::LocateCircleMark(cv::Mat(3, dims, CV_8UC1)), imgtarn::InvalidArgument);

  // A view onto the mark and its packed copy give the same answer.
  const cv::Rect window(80, 40, 140, 140);
  const imgtarn::CircleMarkResult inView = imgtarn::LocateCircleMark(grey(window));
  const imgtarn::CircleMarkResult inCopy = imgtarn::LocateCircleMark(grey(window).clone());
  ASSERT_TRUE(inView.found);
  EXPECT_EQ(inView.centre, inCopy.centre);
}

}  // namespace
