// imgtarn — machine-vision operations for a solder-paste inspection host.
//
// The host loads libimgtarn.so, creates an operation object with ImgTarn_IFCreate (or
// NFunction_IFCreate), calls its virtual operations and hands it back to the matching release
// function. The slot order of the virtual tables, the object sizes and the four C-linkage
// exports below are the binary contract; nothing else is exported.
//
// Conventions shared by every operation
// - plane: width x height unsigned 8-bit samples, rows packed (stride = width). Width and
//   height never travel with the plane; each operation reads them from its para array
//   (as a rule para[0] = width in columns, para[1] = height in rows).
// - para: caller-owned float array. Integers travel as floats and are truncated toward zero;
//   NaN and values outside the 32-bit range read as INT_MIN (so they are refused or clamped
//   like any other out-of-range value, never undefined).
// - status: 0 = the operation ran (found or not), -1 = the input was refused (null plane,
//   zero area, unknown mode). Some operations report "not found" through their results.
// - Exceptions: cv::Exception raised inside OpenCV, and std::out_of_range with the message
//   "invalid vector<T> subscript", leave the operation uncaught. Nothing leaks when they do.
// - Debug output (windows and debug files) appears only where an operation's debug switch
//   asks for it (slots 4 and 5 always show their result window). Windows are shown only
//   when the process has a display; files are written either way.
// - Threads: the objects hold no state; operations without debug output may run
//   concurrently on different buffers.
#ifndef IMGTARN_IMGTARN_HPP
#define IMGTARN_IMGTARN_HPP

#include <cstdint>

#if defined(IMGTARN_BUILDING)
#define IMGTARN_EXPORT __attribute__((visibility("default")))
#else
#define IMGTARN_EXPORT
#endif

class ImgTarn_IF {
 public:
  // Slot 0. Does nothing; returns 0.
  virtual int Initialize();

  // Slot 1. a1: a host record; the library reads the pointer stored 8 bytes into it and
  // returns the sum of the two unsigned bytes it points to (0 to 510). Nothing is checked.
  virtual int SumFirstTwoSamples(void* record);

  // Slot 2. HOUGH_CIRCLE_DEMO_DOC
  virtual int HoughCircleDemo(unsigned char* a1);

  // Slot 3. DETECT_CIRCLES_SMOOTHED_DOC
  virtual int DetectCirclesSmoothed(unsigned char* plane, float* para, int paraCount,
                                    float* result);

  // Slot 4. DETECT_CIRCLES_FROM_TEXT_DOC
  virtual int DetectCirclesFromText(unsigned char* plane, char** texts, void* ignored,
                                    float* result);

  // Slot 5. DETECT_CIRCLES_PLAIN_DOC
  virtual int DetectCirclesPlain(unsigned char* plane, int width, int height, float radius,
                                 float param1, float* result);

  // Slot 6. DRAW_CONTOURS_ALL_EXTERNAL_DOC
  virtual int DrawContoursAllExternal(unsigned char* a1, float* para, unsigned char* a3,
                                      unsigned char* a4, unsigned char* a5);

  // Slot 7. CLASSIFY_RING_CONTOURS_DOC
  virtual int ClassifyRingContours(unsigned char* a1, unsigned char* a2, float* a3,
                                   float* para, float* a5, unsigned char* plane);

  // Slot 8. MORPH_BOUNDING_RECTS_DOC
  virtual int MorphBoundingRects(unsigned char* a1, float* para);

  // Slot 9. SEGMENT_BY_MOMENTS_DOC
  virtual int SegmentByMoments(unsigned char* plane, unsigned char* a2, float* para,
                               unsigned char* a4, float* result);

  // Slot 10. LOCATE_CIRCLE_MARK_QUICK_DOC
  virtual int LocateCircleMarkQuick(unsigned char* plane, float* para, void* ignored,
                                    float* result);

  // Slot 11. LOCATE_CIRCLE_MARK_DOC
  virtual int LocateCircleMark(unsigned char* plane, float* para, void* ignored, float* result);

  // Slot 12. LOCATE_CIRCLE_MARK_ROI_DOC
  virtual int LocateCircleMarkRoi(unsigned char* plane, float* para, void* ignored,
                                  float* result);

  // Slot 13. CUT_LEAD_ROIS_DOC
  virtual int CutLeadRois(unsigned char* a1, unsigned char* a2, void* ignored, float* a4);

  // Slot 14. LOCATE_CROSS_MARK_DOC
  virtual int LocateCrossMark(unsigned char* plane, float* para, void* ignored, float* result);

  // Slot 15. APPROX_CONTOURS_DEMO_DOC
  virtual int ApproxContoursDemo(unsigned char* a1, float* a2, unsigned char* a3, float* a4);

  // Slot 16. MEASURE_LEAD_ROI_DOC
  virtual int MeasureLeadRoi(unsigned char* a1, unsigned char* a2, float* a3, float* a4);

  // Slot 17. ADJUST_CIRCLE_EDGES_DOC
  virtual int AdjustCircleEdges(unsigned char* plane, float* para, void* a3, float* result);

  // Slot 18. LOCATE_RECTANGLE_MARK_DOC
  virtual int LocateRectangleMark(unsigned char* plane, float* para, void* ignored,
                                  float* result);

  // Slot 19. COUNT_CONTOUR_PIXELS_DOC
  // Dispatch: a2[3] == 0.0 (so also -0.0) runs the first counting routine; any other value,
  // NaN included, runs the second. Both receive (a1, a2, a4).
  virtual int CountContourPixels(unsigned char* plane, float* para, void* ignored,
                                 float* result);

  // Slot 20. FOLLOW_CAD_OVERLAY_DOC
  virtual int FollowCadOverlay(unsigned char* boundaryMask, unsigned char* cadPad,
                               unsigned char* measuredPad, float* para, void* ignored,
                               float* score);

  // Slot 21. MORPH_RING_DOC
  // Dispatch: mode < 100 runs the ring routine with (a3, a2, a1, a4, a6); mode >= 100 runs
  // the second routine with (a1, a2, a3, a4).
  virtual int MorphRing(unsigned char* a1, unsigned char* a2, unsigned char* a3, float* para,
                        int mode, unsigned char* plane);

  // Slot 22. FILL_CONTOURS_DOC
  virtual int FillContours(unsigned char* a1, float* para, void* ignored, int* contours,
                           unsigned char* plane);

  // Slot 23. DETECT_EDGES_CANNY_DOC
  virtual int DetectEdgesCanny(unsigned char* src, float* para, unsigned char* dst,
                               float* result);

  // Slot 24. COMPUTE_FLAT_FIELD_COEFFICIENTS_DOC
  virtual int ComputeFlatFieldCoefficients(unsigned char* stack, float* para, int notRead,
                                           float* coefficients, int* a5);

  // Slot 25. APPLY_GAIN_OFFSET_DOC
  virtual int ApplyGainOffset(unsigned char* src, float* coefficients, int count,
                              unsigned char* dst);

  // Slot 26. MATCH_PAD_TEMPLATES_DOC
  virtual int MatchPadTemplates(unsigned char* plane, float* para, void* ignored, float* scores,
                                unsigned char* blobPixels, int* blobRects);

  // Slot 27. SPLIT_PAD_BLOBS_DOC
  virtual int SplitPadBlobs(unsigned char* plane, float* para, void* ignored, float* gridShape,
                            unsigned char* blobPixels, int* blobRects);

  // Slot 28. FIND_DOMINANT_LEVELS_DOC
  virtual int FindDominantLevels(unsigned char* a1, unsigned char* a2, unsigned char* a3,
                                 int width, int height, unsigned char* levels);

  // Slot 29. FILL_BLACK_HOLES_DOC
  virtual int FillBlackHoles(unsigned char* r, unsigned char* g, unsigned char* b, float* para,
                             unsigned char* a5, unsigned char* a6, unsigned char* a7);

  // Slot 30. Dispatch on trunc(a3[0]): mode 0 runs the windowed median filter
  // (MEDIAN_DOC); mode 1 returns at once touching nothing; any other mode returns -1.
  // The status of modes 0 and 1 carries no meaning.
  virtual int Slot30Dispatch(float* heights, float* filtered, float* para);

  // Slot 31. Loads an image file into three planes that the library allocates with
  // operator new (release each with operator delete).
  //   a1: path characters, not zero-terminated; a5[0] = their count (<= 0: empty path).
  //   a2/a3/a4 receive channel 2 (red) / channel 1 (green) / channel 0 (blue); grey files give
  //   three equal planes. a5[1] = width, a5[2] = height (written first; 0 when unreadable).
  //   Returns 0. An unreadable file throws std::out_of_range("invalid vector<T> subscript")
  //   with nothing allocated and a2..a4 untouched. Pointers are not checked.
  //   Example: float p[3] = {8}; unsigned char *r, *g, *b;
  //            obj->LoadImagePlanes((unsigned char*)"board.png", &r, &g, &b, p);
  virtual int LoadImagePlanes(unsigned char* path, unsigned char** channel2,
                              unsigned char** channel1, unsigned char** channel0, float* para);

  // Slot 32. Saves three planes as one colour image; the format follows the extension.
  //   a1: path characters (a5[0] = count); a2 = channel 2 (red), a3 = channel 1, a4 =
  //   channel 0 (blue); a5[1] = width, a5[2] = height.
  //   Returns -1 when any pointer is null (nothing written), else 0 (a failed write is not
  //   reported). An unknown extension or an empty image raises cv::Exception.
  virtual int SaveImagePlanes(unsigned char* path, unsigned char* channel2,
                              unsigned char* channel1, unsigned char* channel0, float* para);

  // Slot 33. RESIZE_PLANES_DOC
  virtual int ResizePlanes(unsigned char* a1, unsigned char* a2, unsigned char* a3,
                           unsigned char* a4, unsigned char* a5, unsigned char* a6, float* para);

  // Slot 34. DRAW_CONTOUR_MASK_DOC
  virtual int DrawContourMask(unsigned char* a1, unsigned char* plane, float* para);

  // Slot 35. COUNTING_SORT_VALUES_DOC
  virtual int CountingSortValues(int* values, float* para, int* permutation);

  std::int32_t tag = 5;  // set to 5 by the factory; read by no operation
};

class NFunction_IF {
 public:
  // Slot 0. Inverts a plane in place. a2 = para with at least a3 entries:
  //   [0] width, [1] height, [2] switch (0.0 leaves the plane alone; anything else, NaN too,
  //   inverts the first width*height samples: v -> 255 - v).
  //   Returns -1 when a3 < 3 (nothing touched), else 0.
  virtual int InvertPlane(unsigned char* plane, float* para, int paraCount);

  // Slot 1. Steps an integer X/Y position towards measured offsets.
  //   in (>= 15 entries): [0] total count, [1] offsetX, [2] offsetY, [3] scaleX, [4] scaleY,
  //   [5] unitX, [6] unitY, [7] coverage adjustment off (0.0 = on), [8] countA, [9] countB,
  //   [10] step enable, [11] step size (int16), [12] step enable 2, [13] posX, [14] posY.
  //   out (>= 5 entries): [0] new X, [1] new Y, [2] 1.0 when a step was taken, [3] remaining
  //   X offset, [4] remaining Y offset. out is written with the pass-through values before
  //   the length check. Returns -1 for short arrays, else the step flag (0 or 1).
  //   Divisions are not guarded: zero units or scales give infinities or NaN.
  virtual int StepPositionToOffsets(float* in, int inCount, float* out, int outCount);

  // Slot 2. Interpolates four values towards their targets.
  //   in (>= 13 entries): [0] mode (only 1 computes), [1] percentage (0 -> all the way,
  //   below 10 % -> 10 %), [2..5] current A, B, C, D, [6] target A, [7] weight A (|w| < 0.001
  //   stops), [8] target B, [9] weight B, [10] not read, [11] target C, [12] target D.
  //   out (>= 8 entries): [0] 1.0 when computed, [1] A, [2] A/targetA*weightA, [3] B,
  //   [4] B/targetB*weightB, [5] B/A, [6] C, [7] D.
  //   Returns -1 for short arrays, else 0.
  virtual int InterpolateToTargets(float* in, int inCount, float* out, int outCount);
};

static_assert(sizeof(ImgTarn_IF) == 16, "ImgTarn_IF is a table pointer and one 32-bit member");
static_assert(sizeof(NFunction_IF) == 8, "NFunction_IF is a table pointer only");

extern "C" {
// Returns a new object (table set, member = 5), or null when allocation fails.
IMGTARN_EXPORT ImgTarn_IF* ImgTarn_IFCreate();
// Frees an object from ImgTarn_IFCreate; null is accepted. Always returns 0.
IMGTARN_EXPORT int ImgTarn_IFRelease(ImgTarn_IF* object);
// Returns a new NFunction_IF, or null when allocation fails.
IMGTARN_EXPORT NFunction_IF* NFunction_IFCreate();
// Frees an object from NFunction_IFCreate; null is accepted. Always returns 0.
IMGTARN_EXPORT int NFunction_IFRelease(NFunction_IF* object);
}

#endif  // IMGTARN_IMGTARN_HPP
