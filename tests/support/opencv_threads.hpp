// scripts/test-threads runs OpenCV's own loops on the calling thread: its worker pool (TBB)
// synchronises in uninstrumented code, which ThreadSanitizer cannot see. A test program that
// includes this header takes OpenCV's thread count from IMGTARN_TEST_OPENCV_THREADS.
#ifndef IMGTARN_TESTS_SUPPORT_OPENCV_THREADS_HPP
#define IMGTARN_TESTS_SUPPORT_OPENCV_THREADS_HPP

#include <cstdlib>
#include <opencv2/core.hpp>

namespace test_support {

inline const bool kOpenCvThreadsSet = [] {
  if (const char* threads = std::getenv("IMGTARN_TEST_OPENCV_THREADS"))
    cv::setNumThreads(std::atoi(threads));
  return true;
}();

}  // namespace test_support

#endif  // IMGTARN_TESTS_SUPPORT_OPENCV_THREADS_HPP
