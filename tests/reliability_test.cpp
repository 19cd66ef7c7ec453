// Reliability of the library linked in: every operation of support/slot_calls.hpp run from eight
// threads at once gives the serial result and writes no input, inputs that could loop forever
// finish, and out-of-range para values read as INT_MIN.
#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "imgtarn/imgtarn.hpp"
#include "support/opencv_threads.hpp"
#include "support/slot_calls.hpp"

namespace {

using namespace slots;

using Object = std::unique_ptr<ImgTarn_IF, decltype(&ImgTarn_IFRelease)>;
Object NewObject() { return Object(ImgTarn_IFCreate(), ImgTarn_IFRelease); }

// The table's rows call the objects of the library linked in, through the same raw table.
void* CreateImg() { return ImgTarn_IFCreate(); }
int ReleaseImg(void* object) { return ImgTarn_IFRelease(static_cast<ImgTarn_IF*>(object)); }
void* CreateNum() { return NFunction_IFCreate(); }
int ReleaseNum(void* object) { return NFunction_IFRelease(static_cast<NFunction_IF*>(object)); }
struct LinkedObjects : Objects {
  LinkedObjects() : Objects{{CreateImg, ReleaseImg}, {CreateNum, ReleaseNum}} {}
};

class EveryOperation : public testing::TestWithParam<std::size_t> {
 protected:
  const Row& Op() const { return Rows()[GetParam()]; }
};

TEST_P(EveryOperation, GivesTheSerialResultFromEightThreadsAtOnce) {
  LinkedObjects serialObjects;
  const Outcome serial = RunOnce(Op(), serialObjects, 0);
  constexpr int kThreads = 8;
  std::vector<int> mismatches(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      LinkedObjects objects;
      for (int i = 0; i < Op().callsPerThread; ++i) {
        const Outcome o = RunOnce(Op(), objects, t);
        if (o.outputs != serial.outputs) ++mismatches[t];
      }
    });
  }
  for (std::thread& t : threads) t.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << Op().name << " thread " << t;
}

TEST_P(EveryOperation, LeavesItsInputsUnchanged) {
  LinkedObjects objects;
  EXPECT_EQ(RunOnce(Op(), objects, 0).changed, "") << Op().name;
}

INSTANTIATE_TEST_SUITE_P(Reliability, EveryOperation, testing::Range<std::size_t>(0, Rows().size()),
                         TestName);

// ---------------------------------------------------------------------------------------
// Watchdogs: inputs that could loop forever must return. The call runs on its own thread;
// a call still running after the limit fails the test (the thread is then left behind).

bool FinishesInTime(std::function<void()> call) {
  auto done = std::make_shared<std::promise<void>>();
  std::future<void> finished = done->get_future();
  std::thread([call, done] {
    call();
    done->set_value();
  }).detach();
  return finished.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

struct HangCandidate {
  std::string name;
  std::function<void()> call;
};

std::vector<HangCandidate> HangCandidates() {
  std::vector<HangCandidate> cases;
  for (const auto& [w, h] : std::vector<std::pair<int, int>>{
           {1, 1}, {1, 50}, {50, 1}, {2, 19}, {19, 2}, {20, 1}, {1, 21}}) {
    cases.push_back({"29 narrow " + std::to_string(w) + " x " + std::to_string(h), [w = w, h = h] {
                       Bytes r(w * h, 0), g(w * h, 0), b(w * h, 0), o(w * h);
                       float para[6] = {static_cast<float>(w), static_cast<float>(h), 0, 0, 0, 0};
                       NewObject()->FillBlackHoles(r.data(), g.data(), b.data(), para, o.data(),
                                                   o.data(), o.data());
                     }});
  }
  cases.push_back({"20 boundary without outside", [] {
                     Bytes boundary(kW * kH, 255), cad = Rect(30, 30, 20, 16);
                     Bytes measured = Rect(10, 12, 8, 40);
                     float para[3] = {kWf, kHf, 0}, score = -1;
                     NewObject()->FollowCadOverlay(boundary.data(), cad.data(), measured.data(),
                                                   para, nullptr, &score);
                   }});
  // 2147483520 is the largest float below 2^31; 2^31 itself reads as INT_MIN.
  for (float k : {2147483520.0f, 16777215.0f, 65537.0f, 2147483648.0f, -2147483520.0f}) {
    cases.push_back({"24 window " + std::to_string(k), [k] {
                       constexpr int w = 8, h = 6;
                       Bytes stack(6 * w * h, 100);
                       float para[10] = {0, 1, w, h, k, 1.5f, 0.5f, 200, 250, 5};
                       Floats table(6 * w * h);
                       int a5 = 0;
                       NewObject()->ComputeFlatFieldCoefficients(stack.data(), para, 0,
                                                                 table.data(), &a5);
                     }});
    cases.push_back({"30 window " + std::to_string(k), [k] {
                       Floats heights(8 * 6, 3.0f), filtered(8 * 6);
                       float para[8] = {0, 8, 6, k, 0, 1000, 2, 1};
                       NewObject()->Slot30Dispatch(heights.data(), filtered.data(), para);
                     }});
  }
  cases.push_back({"35 whole int range", [] {
                     Ints values = {INT_MAX, INT_MIN, 0, INT_MIN}, permutation(4);
                     float para[4] = {4, 1, 0, 1};
                     NewObject()->CountingSortValues(values.data(), para, permutation.data());
                     EXPECT_EQ(values, (Ints{INT_MIN, INT_MIN, 0, INT_MAX}));
                   }});
  cases.push_back(
      {"22 polygons at the coordinate limit", [] {
         constexpr int kFar = 1 << 24;
         Ints polygons = {1, 4, -kFar, -kFar, kFar, -kFar, kFar, kFar, -kFar, kFar};
         Bytes target(kW * kH, 0);
         float para[7] = {kWf, kHf, 255, static_cast<float>(polygons.size()), 0, 0, 0};
         EXPECT_EQ(
             NewObject()->FillContours(target.data(), para, nullptr, polygons.data(), nullptr), 0);
         EXPECT_EQ(target, Bytes(kW * kH, 255));
       }});
  return cases;
}

TEST(NoHang, EveryCandidateReturns) {
  for (const HangCandidate& c : HangCandidates()) EXPECT_TRUE(FinishesInTime(c.call)) << c.name;
}

// NaN and out-of-range para values read as INT_MIN, which every operation refuses or clamps
// like any other out-of-range value (a sample of the README's "Bad input" table).
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(BadInput, NaNAndOutOfRangeValuesReadAsIntMin) {
  Object obj = NewObject();
  Bytes plane = Scene();
  float marks[5] = {kWf, kNaN, 12, 0, 0}, result[4] = {7, 7, 7, 7};
  EXPECT_EQ(obj->LocateCircleMark(plane.data(), marks, nullptr, result), -1);
  EXPECT_EQ(result[0], 0.0f);
  Floats heights(16, 1.0f), filtered(16);
  float median[8] = {kNaN, 4, 4, 3, 0, 10, 2, 0};
  EXPECT_EQ(obj->Slot30Dispatch(heights.data(), filtered.data(), median), -1);
  // A NaN K: writing stops after the first value's run.
  Ints values = {5, 3, 3, 9}, permutation(4, -1);
  float sort[4] = {4, 1, kNaN, 1};
  EXPECT_EQ(obj->CountingSortValues(values.data(), sort, permutation.data()), 0);
  EXPECT_EQ(values, (Ints{3, 3, 3, 9}));
  EXPECT_EQ(permutation, (Ints{1, 2, -1, -1}));
  // Slot 3's tolerance out of the 32-bit range is not above 2: the default 5. One in range but
  // far beyond the plane searches every radius the plane can hold, and returns.
  const auto detect = [&](float tolerance) {
    float para[10] = {kWf, kHf, 12, 60, 0, 0, 0, 0, 0, tolerance};
    Floats circle(3, 7.0f);
    EXPECT_EQ(obj->DetectCirclesSmoothed(plane.data(), para, 10, circle.data()), 0) << tolerance;
    return circle;
  };
  const Floats five = detect(5);
  ASSERT_NEAR(five[0], 30, 1.5);
  for (float t : {3e9f, std::numeric_limits<float>::infinity(), 2147483648.0f})
    EXPECT_EQ(detect(t), five) << t;
  EXPECT_NE(detect(2147483520.0f)[0], 7.0f);
}

}  // namespace
