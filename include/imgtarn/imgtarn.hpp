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
//   when the process has a display (without one they are skipped); files are written either
//   way. OpenCV errors from cv::imshow, cv::imwrite, cv::waitKey and cv::destroyAllWindows
//   of debug output are swallowed (an unwritable debug file is lost); no other OpenCV error
//   is caught.
// - Window titles are UTF-8, the platform's narrow encoding. Those that are not ASCII:
//   "原图", "矩形合并结果", "多矩形检测结果", "梯度调整矩形" (slots 14 and 18); "源图像",
//   "目标模板图像", "外模板图像" (slot 20); "拆解图0" (slot 26); "二值化图片", "二值图像",
//   "水平投影", "垂直投影" (slot 27).
// - Threads: the objects hold no state; operations without debug output may run
//   concurrently on different buffers.
// - Time grows in proportion to the plane's area (bench/scaling fits the exponent of every
//   operation over noisy boards of 256 x 256 to 2048 x 2048; 1.0 is linear), except where
//   the work itself grows faster: the Hough searches of slots 3 to 5 and 11, whose
//   cv::HoughCircles accumulator (one int per pixel, filled at random) leaves the cache on
//   large planes (3.4 ms per megapixel at 256 x 256, 6.8 ms from about 1800 x 1800 on:
//   exponents 1.2), and the work on noise that slots 3, 10 and 11 describe; the windows of
//   slots 24 and 30 (time per sample grows with the window's area); slot 26 (every template
//   is correlated over the whole plane); slot 35 (n plus the value range). Slot 25 and the
//   inversion only stream memory, which slows per byte once planes leave the cache (memcpy
//   of the same bytes: exponent 1.3).
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

  // Slot 1. record: a host record; the library reads the pointer stored 8 bytes into it and
  // returns the sum of the two unsigned bytes it points to (0 to 510). Nothing is checked.
  virtual int SumFirstTwoSamples(void* record);

  // Slot 2. Shows a test image's Sobel edges ("Sobel Edges") and its Hough circles ("Hough
  //   Circles", every radius, drawn in colour). path: zero-terminated path of the test image
  //   (read as grey). Windows appear only when the process has a display; no key is waited for.
  //   Returns -1 when path is null or the file cannot be read, else 0. Exceptions: none expected.
  //   Example: obj->HoughCircleDemo((unsigned char*)"board.bmp");
  virtual int HoughCircleDemo(unsigned char* path);

  // Slot 3. Finds the one circle of a given radius by a single Hough search on the plane
  //   smoothed 3 x 3. plane: para[0] x para[1] grey samples (read only). paraCount: entries
  //   of para (at least 5). para (read only): [0] width, [1] height (truncated), [2] radius r,
  //   [3] Canny threshold of the search (below 1 or NaN: 60), [4] debug (1 shows "Smoothing",
  //   "Circles Image" and "Circle Found"), [9] radius tolerance t, read only when paraCount > 9
  //   and used only when above 2 (truncated); otherwise t = 5 (also for values out of the
  //   32-bit range, which read as INT_MIN). Radii searched: r - t .. r + t, at most the
  //   plane's diagonal (no larger circle centred in the plane meets an edge in it).
  //   result: [0], [1] centre x, y, [2] radius of the circle found (not r); 0, 0, 0 when none
  //   is found, r is 0 or below or exceeds the plane's longer side, or the call is refused.
  //   Of several circles the one whose radius is nearest r wins; ties keep Hough order.
  //   Returns -1 for a null plane, a non-positive width or height or paraCount < 5, else 0.
  //   Time: one cv::HoughCircles call, which checks every circle it finds against every one
  //   kept before it: fine on a board (a few circles; 29 ms on 2448 x 2048, one thread), but
  //   on a bright dot every third pixel with r = 120 it finds 9804 circles on 640 x 480
  //   (0.36 s) and 80712 on 1280 x 960 (5.1 s).
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: float para[10] = {640, 480, 20, 60, 0}, result[3];
  //            obj->DetectCirclesSmoothed(plane, para, 5, result);
  virtual int DetectCirclesSmoothed(unsigned char* plane, float* para, int paraCount,
                                    float* result);

  // Slot 4. Slot 5 with its numbers given as zero-terminated texts: texts[0] width (atoi),
  //   texts[1] height (atoi), texts[2] radius r (atof), texts[3] Canny threshold (atof; below
  //   1 or NaN: 15). Always shows the smoothed plane in "Hough Circle Transform Demo" (only
  //   when the process has a display). ignored: not read. result: as slot 3, set to 0, 0, 0 on
  //   entry. Returns -1 for a null plane, null texts, or a non-positive width or height, else 0.
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: char* texts[4] = {w, h, r, t}; float result[3];
  //            obj->DetectCirclesFromText(plane, texts, nullptr, result);
  virtual int DetectCirclesFromText(unsigned char* plane, char** texts, void* ignored,
                                    float* result);

  // Slot 5. Finds the one circle of radius near r (searched r - 2 .. r + 2, Hough on the plane
  //   smoothed 3 x 3, 15 votes): plane width x height grey samples (read only), param1 = the
  //   search's Canny threshold (0 or below, or NaN: 15). Always shows the smoothed plane in
  //   "Hough Circle Transform Demo" (only when the process has a display).
  //   result: [0], [1] centre x, y, [2] radius found (nearest r; ties keep Hough order);
  //   0, 0, 0 when none is found or r is 0 or below or exceeds the plane's longer side.
  //   Returns -1 for a null plane or a non-positive width or height (result untouched), else 0.
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: float result[3];
  //            obj->DetectCirclesPlain(plane, 640, 480, 20.0f, 60.0f, result);
  virtual int DetectCirclesPlain(unsigned char* plane, int width, int height, float radius,
                                 float param1, float* result);

  // Contour slots 6-9, 15, 19, 21, 22 and 34 share these rules. para[0] width, para[1]
  // height; para[2] threshold: samples above it are foreground (below 0: all, 255 and above:
  // none). A blob is an 8-connected foreground region; its outer contour runs through its
  // boundary pixels. "Enclosed" pixels are those inside or on an outer contour (holes
  // included). Listings are in raster order of each blob's bounding box (top row first, then
  // left column). para[4] debug switch: non-zero shows one window titled "mat..." (1 ms
  // wait, no files). Capacities count entries; the totals reported may exceed them, nothing
  // is written past them. Radii give elliptic (2r+1) x (2r+1) discs, clamped to 0..50.
  // Returns -1 (nothing written) for a null para, a null required plane or a width or height
  // below 1, else 0. Only cv::Exception from OpenCV (e.g. out of memory) may leave.
  //
  // Slot 6. Outlines every blob's outer contour over one to three host planes (e.g. the
  // channels of a colour view); a plane's other samples are left as they were.
  //   source: source plane (read). target0: target plane (required); target1, target2: further
  //   targets or null.
  //   para in: [3] outline thickness (clamped 1..255; it grows on both sides of the contour),
  //     [5], [6], [7] levels drawn into target0, target1, target2 (clamped 0..255).
  //   para out: [8] number of outer contours.
  //   Example: float p[9] = {w, h, 0, 1, 0, 255, 0, 0};
  //            obj->DrawContoursAllExternal(mask, p, red, green, blue);  // red outlines
  virtual int DrawContoursAllExternal(unsigned char* source, float* para, unsigned char* target0,
                                      unsigned char* target1, unsigned char* target2);

  // Slot 7. Sorts blobs into rings (exactly one hole, e.g. a via land) and solids (no hole).
  // Contour rules as for slot 6.
  //   plane: source (read). ringMask: ring mask out (ring pixels 255, bores and the rest 0)
  //   or null. solidMask: solid mask out, or null. solids: solid entries out, or null. rings:
  //   ring entries out, or null. An entry is 4 floats: centre x, centre y (centroid of the enclosed
  //   pixels, so a ring's bore counts towards its centre), enclosed pixel count, background pixels
  //   enclosed (the hole area; 0 for a solid).
  //   para in: [3] minimum enclosed pixel count (smaller blobs are skipped), [5] minimum hole
  //     area (area of the hole's contour polygon; smaller holes are pin holes and ignored),
  //     [6] capacity of rings in entries, [7] capacity of solids in entries.
  //   para out: [8] rings, [9] solids, [10] blobs with two or more holes (in no list or mask).
  //   Example: float p[11] = {w, h, 128, 20, 0, 4, 8, 8}; float rings[32], solids[32];
  //            obj->ClassifyRingContours(nullptr, nullptr, solids, p, rings, plane);
  virtual int ClassifyRingContours(unsigned char* ringMask, unsigned char* solidMask, float* solids,
                                   float* para, float* rings, unsigned char* plane);

  // Slot 8. Opens (drops specks) then closes (bridges hairline gaps) the foreground and
  // reports the bounding rectangles of the blobs left. Contour rules as for slot 6.
  //   source: source plane (read; the cleaning works on a copy).
  //   para in: [3] opening radius, [5] closing radius (0 skips the step), [6] capacity in
  //     rectangles. para must hold 8 + 4 x capacity floats.
  //   para out: [7] number of blobs; from [8], 4 floats per blob: x, y, width, height.
  //   Example: float p[8 + 4 * 16] = {w, h, 0, 1, 0, 1, 16};
  //            obj->MorphBoundingRects(plane, p);  // p[7] blobs, rectangles from p[8]
  virtual int MorphBoundingRects(unsigned char* source, float* para);

  // Slot 9. Segments blobs and measures each from its pixel moments. Contour rules as for
  // slot 6 (para is read only).
  //   plane: source (read). regionMask: region mask (read; only where it is non-zero counts
  //   as foreground, so blobs are cut at its edge) or null for the whole plane. labels: label plane
  //   out (blob k of the listing gets min(k, 255) on its own pixels, holes and the rest 0) or
  //   null.
  //   para in: [3] minimum area in pixels (smaller blobs are not listed), [5] capacity.
  //   result out: [0] number of blobs listed; from [1], 3 floats per blob: area (set pixels,
  //     holes excluded), centroid x, centroid y. result must hold 1 + 3 x capacity floats.
  //   Returns -1 also for a null result.
  //   Example: float p[6] = {w, h, 0, 10, 0, 32}, r[1 + 3 * 32];
  //            obj->SegmentByMoments(plane, nullptr, p, nullptr, r);
  virtual int SegmentByMoments(unsigned char* plane, unsigned char* regionMask, float* para,
                               unsigned char* labels, float* result);

  // Slot 10. Locates a bright filled circular mark of known radius by the template search
  //   alone: disc-template correlation (score >= 0.85 wins), else five or more Hough circles
  //   (radii trunc(r - 3) .. trunc(r + 3)) in the matched region, searched as an image of its
  //   own, give the centre of their enclosing circle, else a scored search of the whole plane
  //   (favouring marks cut by the right or bottom border).
  //   plane: para[0] x para[1] grey samples (read only). ignored: not read.
  //   para (read only): [0] width, [1] height (truncated), [2] radius r in pixels, [4] debug
  //   (1 shows "Orginal Image", "Smoothing", "---template find --bilateral", "ROI",
  //   "tempHCRoi", "--closing circle--", "tempHCRoi2", "guaCircle", "hCRoi"; no file).
  //   result: [0], [1] centre x, y in plane pixels, [2] = r; all 0 on entry.
  //   Returns 0 when a centre was written; -1 for a null plane, a non-positive width or
  //   height, r <= 0 or NaN, a disc template (side 2r + 2) larger than the plane, or no mark.
  //   Time: the whole-plane search judges every circle its thresholds let through by a Hough
  //   search of the circle's own template-sized box, the boxes spread over OpenCV's worker
  //   threads. A board gives a handful (0.16 s on 2448 x 2048, one thread); pure noise gives
  //   about 0.045 circles per pixel farther than r from the border: 4448 on 640 x 480 uniform
  //   noise at r = 120, 12.8 s on one thread, 6.2 s on two; 34037 on 1280 x 960, 98 s on one.
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: float para[5] = {200, 160, 20, 0, 0}, result[3];
  //            if (obj->LocateCircleMarkQuick(plane, para, nullptr, result) == 0) ...
  virtual int LocateCircleMarkQuick(unsigned char* plane, float* para, void* ignored,
                                    float* result);

  // Slot 11. Locates a bright filled circular mark of known radius in two stages.
  //   Stage 1: Hough circles (radii trunc(r) +- 2) on Canny edges, checked against a
  //   disc-template estimate and measured by gradient profiles; an axis whose diameter falls
  //   more than r/9 short of 2r is rejected (a longer one is accepted).
  //   - The first circle within r/10 of the estimate decides. Inside (5 px clear of every
  //     border) a window 2r + 10 around the estimate is measured; a rejected axis keeps the
  //     estimate. Near one border a template score >= 0.95 takes the estimate; below it the
  //     mark is re-measured in a window flush with that border (diameter within r/6 of 2r),
  //     a rejected axis keeping the circle. Near a corner (two borders): stage 2.
  //   - Without such a circle, circle 0 and the circles within r/3 of it (group A) decide,
  //     provided A has a member and no circle lies farther than r from circle 0 (group B is
  //     empty). A window 2r + 8 around A's mean is measured; a rejected axis takes circle
  //     0's coordinate. Near one border the re-test runs; a rejected axis that the border
  //     cuts comes from the disc's whole edge half a diameter inward when that lies within
  //     r/3 of circle 0, else from circle 0. A non-empty group B, an empty group A or a mean
  //     near a corner: stage 2.
  //   Stage 2, only when stage 1 found at least two edge circles but no centre: the search of
  //   slot 10, with its time on noise (12.6 s on 640 x 480 uniform noise at r = 120). Centres are
  //   good to about 1 px; a small clean mark (r below about 12) often yields a single edge circle
  //   and then (0, 0): use slot 10. Debug windows are not pumped (no cv::waitKey): a host that
  //   wants them painted runs its own event loop. plane, ignored, para: as slot 10 ([4] = 1 shows
  //   "Edges Image", "---template find
  //   --bilateral", "All Found Circles In Edges by HoughCircles", "Using Grad method found the
  //   best circle.", "The new ROI", "Test the circle's position.", then the stage-2 windows
  //   with "Original Image", and writes "D:\picture\Result\121401.bmp" after a measurement).
  //   result: [0], [1] centre x, y in plane pixels, [2] = r when a centre is written;
  //   [0], [1] are 0 on entry; (0, 0) means no mark.
  //   Returns 0 when a centre was written; -1 (result 0, 0, 0) for a null plane, a
  //   non-positive width or height, r <= 0 or NaN, or a disc template (side 2r + 2) larger
  //   than the plane; -1 when no mark was found.
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: float para[5] = {200, 160, 20, 0, 0}, result[3];
  //            obj->LocateCircleMark(plane, para, nullptr, result);  // centre: result[0], [1]
  virtual int LocateCircleMark(unsigned char* plane, float* para, void* ignored, float* result);

  // Slot 12. Stage 1 of slot 11 on the plane reduced to half size (2 x 2 averaging, radius
  //   r / 2, centre mapped back as 2 x + 0.5), and at full size when that finds nothing.
  //   plane, para, result: as slot 11 (result all 0 on entry; [2] = r when written).
  //   ignored: not read. Half-size centres are good to about two pixels.
  //   Returns 0 on the first success; -1 when both fail or the input is refused as in slot 11.
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: float para[5] = {800, 600, 40, 0, 0}, result[3];
  //            obj->LocateCircleMarkRoi(plane, para, nullptr, result);
  virtual int LocateCircleMarkRoi(unsigned char* plane, float* para, void* ignored, float* result);

  // Slot 13. Finds a component lead by template matching (normalised correlation coefficient,
  // whole-pixel positions) and cuts the regions left and right of it, where solder bridges
  // and bent leads show.
  //   image: image plane, para[0] x para[1] (read). leadTemplate: lead template plane,
  //   para[2] x para[3] (read; a grey sample of the lead with some board around it).
  //   ignored: not read.
  //   para in: [0] width, [1] height, [2] template width, [3] template height, [4] debug
  //     switch (non-zero: window "matLeadRois", 1 ms wait), [5] side region width in pixels,
  //     [6] minimum match score (-1..1; NaN finds nothing).
  //   para out: [7] 1 when found, else 0; [8] best score; [9], [10] centre of the matched box
  //     (x + (template width - 1) / 2, likewise y); [11..14] left region x, y, width, height
  //     (the [5] columns before the box, rows of the box, clipped to the image: width 0 when
  //     the box touches the left edge); [15..18] right region likewise. [9..18] are 0 when
  //     not found.
  //   Returns -1 for a null plane or para, a size below 1 or a template larger than the
  //   image; else 0. Only cv::Exception from OpenCV may leave.
  //   Example: float p[19] = {w, h, tw, th, 0, 8, 0.7f};
  //            obj->CutLeadRois(image, leadTemplate, nullptr, p);  // regions at p[11], p[15]
  virtual int CutLeadRois(unsigned char* image, unsigned char* leadTemplate, void* ignored,
                          float* para);

  // Slot 14. Locates one bright plus-shaped fiducial of known nominal size on a dark board.
  //   plane: para[0] x para[1] grey samples (read only). ignored: not read.
  //   para (read only): [0] width, [1] height (both truncated); [2] half the nominal width,
  //     [3] half the nominal height, in pixels (the bars are a third of the mark);
  //     [4] debug switch (truncated): 0 off; 1 closes all windows, shows "原图" and every
  //     debug view; any other value every debug view but those two. Debug views: "auto
  //     threshold", "approxPolyDP", "CrossTemplate" (+ file CrossTemplate.jpg, only when
  //     the template fallback runs), "ROI.jpg" (+ file ROI.jpg), "梯度调整矩形", "矩形合并结果",
  //     "多矩形检测结果"; 100 ms waits. The switch is process-wide, shared by calls of this slot.
  //   result: [0], [1] centre x, y in plane pixels; [2], [3] half width, half height (three
  //     times the measured half extent of the central square). The box is measured from the
  //     gradient profiles of the region 5 px around the candidate framed in black (0): on a
  //     light board the frame's edges can outweigh the mark's and shift the box (slot 18 too).
  //   Returns -1 (all four results 0, debug switch unchanged) for a null plane or a
  //     non-positive width or height; otherwise 0. No mark found: result[0] = result[1] = 0
  //     and result[2], result[3] keep the caller's values — read a zero centre as "none".
  //     Nominal sizes below 1 pixel or larger than the plane find nothing.
  //   Time: mostly cv::findContours on the ladder's levels: 0.12 s on a 2048 x 2048 board
  //     (one thread); on a one-pixel checkerboard every level holds a contour per dark pixel,
  //     0.22 s on 640 x 480 and 1.2 s on 1280 x 960.
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: float para[5] = {640, 480, 15, 15, 0}, result[4];
  //            if (obj->LocateCrossMark(plane, para, nullptr, result) == 0 && result[0] != 0) ...
  virtual int LocateCrossMark(unsigned char* plane, float* para, void* ignored, float* result);

  // Slot 15. Approximates each blob's outer contour by a polygon (Douglas-Peucker); the
  // vertex counts tell triangles, rectangles and round shapes apart. Contour rules as for
  // slot 6 (para is read only).
  //   source: source plane (read). drawing: drawing out (cleared to 0, each closed polygon drawn
  //   255 one pixel wide) or null. para in: [3] tolerance in pixels (negative or NaN: 0, which
  //   keeps every corner),
  //     [5] capacity.
  //   result out: [0] number of contours; from [1], one vertex count per contour.
  //   Returns -1 also for a null result.
  //   Example: float p[6] = {w, h, 0, 2.0f, 0, 16}, r[17];
  //            obj->ApproxContoursDemo(plane, p, nullptr, r);  // r[1] = 4 for a rectangle
  virtual int ApproxContoursDemo(unsigned char* source, float* para, unsigned char* drawing,
                                 float* result);

  // Slot 16. Finds the lead as slot 13 does, then judges its position error and the
  // brightness of the regions beside it.
  //   image: image plane (read). leadTemplate: lead template plane (read).
  //   para (read only): [0..6] as for slot 13 (debug window "matLeadMeasure"),
  //     [7], [8] expected lead centre x, y (same convention as slot 13's [9], [10]),
  //     [9] position tolerance in pixels per axis, [10] brightest acceptable mean grey of a
  //     side region.
  //   result out: [0] 1 when found, else 0; [1] score; [2], [3] centre; [4], [5] error
  //     (centre - expected); [6] mean grey of the matched box; [7], [8] mean grey of the left
  //     and right regions (0 for a region cut away by the border); [9] judgement: the
  //     LeadJudgement bits below, 0 for a good lead (kLeadNotFound alone when not found; then
  //     [2..8] are 0). A NaN limit fails its test.
  //   Returns -1 as slot 13 does, also for a null result; else 0.
  //   Example: float p[11] = {w, h, tw, th, 0, 8, 0.7f, 64.5f, 40.5f, 1.5f, 120}, r[10];
  //            obj->MeasureLeadRoi(image, leadTemplate, p, r);
  //            if (static_cast<int>(r[9]) & ImgTarn_IF::kLeftRegionTooBright) ...
  enum LeadJudgement : int {
    kLeadOffPosition = 1,      // the centre error exceeds the tolerance on an axis
    kLeftRegionTooBright = 2,  // the left region's mean grey exceeds the limit
    kRightRegionTooBright = 4,
    kLeadNotFound = 8,
  };
  virtual int MeasureLeadRoi(unsigned char* image, unsigned char* leadTemplate, float* para,
                             float* result);

  // Slot 17. Refines a circle: on 72 rays from the given centre (0.5 r to 1.5 r) the strongest
  //   radial Sobel edge of the plane smoothed 3 x 3, weak rays (< 1/4 of the strongest)
  //   dropped, fitted with cv::fitEllipse. plane: para[0] x para[1] grey samples (read only).
  //   para (read only): [0] width, [1] height (truncated), [2] centre x, [3] centre y,
  //   [4] radius r. ignored: not read. result: [0] centre x, [1] centre y, [2] and [3] the two
  //   semi-axes (fitEllipse's box width / 2 and height / 2), [4] its angle in degrees.
  //   Returns -1 (result untouched) for a null plane, a non-positive width or height, r <= 0,
  //   r larger than the plane's longer side, or fewer than 5 edge points; else 0.
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: float para[5] = {200, 160, 70, 60, 20}, result[5];
  //            obj->AdjustCircleEdges(plane, para, nullptr, result);
  virtual int AdjustCircleEdges(unsigned char* plane, float* para, void* ignored, float* result);

  // Slot 18. Locates one bright, axis-aligned rectangular fiducial of known nominal size.
  //   plane, ignored, para: as slot 14 ([2], [3] half the nominal width and height; [4] this
  //     slot's own process-wide debug switch, with the same values and views, the template
  //     view titled "RectangleTemplate" with file RectangleTemplate.jpg). The template
  //     fallback enlarges a crop smaller than the template (cubic, by the larger of the two
  //     size ratios); a crop that truncation leaves one pixel short scores 0.
  //   result: [0], [1] centre x, y; [2], [3] measured half width, half height (not scaled).
  //   Returns -1 (all four results 0) for a null plane or a non-positive width or height;
  //     otherwise 0. No mark found, or a degenerate measurement: all four results 0.
  //     Tilted marks (more than 10 degrees off the axes) fail the polygon test, but their
  //     contours stay for the template fallback, which accepts one that still correlates
  //     with the upright rectangle above 0.5 (a 40 x 24 mark at 30 degrees does, at 60 it
  //     does not); its box is then measured along the axes, its centre several pixels off.
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: float para[5] = {640, 480, 20, 12, 0}, result[4];
  //            if (obj->LocateRectangleMark(plane, para, nullptr, result) == 0 && result[0]) ...
  virtual int LocateRectangleMark(unsigned char* plane, float* para, void* ignored, float* result);

  // Slot 19. Counts pixels per blob. Contour rules as for slot 6 (para is read only).
  // Dispatch: para[3] == 0.0 (so also -0.0) counts the pixels each outer contour encloses
  // (the blob with its holes filled); any other value, NaN included, counts the pixels on
  // each outer contour (its one-pixel outline). Both receive (plane, para, result).
  //   plane: source (read). ignored: not read.
  //   para in: [3] selector (above), [5] capacity.
  //   result out: [0] total of all blobs' counts, [1] number of blobs; from [2], one count
  //     per blob. Returns -1 also for a null result.
  //   Example: float p[6] = {w, h, 0, 0, 0, 8}, r[10];
  //            obj->CountContourPixels(plane, p, nullptr, r);  // a 10 x 20 blob: r[2] = 200
  virtual int CountContourPixels(unsigned char* plane, float* para, void* ignored, float* result);

  // Slot 20. Scores how well a measured pad blob covers its CAD pad inside a boundary mask.
  //   boundaryMask, cadPad, measuredPad: para[0] x para[1] masks (any non-zero byte is set;
  //     in the boundary only 255 counts as inside). None is written: the library moves its
  //     own copy of the measured blob. ignored: not read.
  //   para (read only): [0] width, [1] height (rounded: + 0.5, then truncated); [2] debug when
  //     |para[2]| > 0.00001: closes all windows first, then per pass shows "matOverlapCad"
  //     (+ file matOverlapCad.bmp), "matCAD", "matSrcOffset" (+ file AfterFollowing.bmp,
  //     which holds the CAD image), waits for a key, then shows "源图像", "目标模板图像",
  //     "外模板图像". Files go to the current directory.
  //   score (out): the better of two passes, 0 or more; 1 = the blob covers the pad and spills
  //     nowhere. Pass 0 scores the blob where it lies; pass 1 rescales it to the CAD box and
  //     moves it onto the CAD centroid first. A pass scores the covered share of the pad minus
  //     the spill inside the boundary, divided for the scale and both centroid-offset ratios
  //     r (v = r or 1/r, whichever is <= 1) by 2^(1-v) on pass 0 and by exp(1-v) on pass 1.
  //     Spill weights: n rings of 3x3 growth from the pad stay inside the boundary; a pixel
  //     of ring i weighs trunc(255 i / n) / 255, a ring whose weight truncates to 0 (n > 255)
  //     takes the next ring's, and pixels beyond the last ring (or all, when the first growth
  //     already leaves the boundary and n = 0) weigh 0.
  //   Returns -1 for a null plane (score untouched) or a zero area (score 0); otherwise 0.
  //     An empty measured or CAD blob scores 0. A boundary of 255 everywhere lets the rings
  //     grow to the plane's edge.
  //   Exceptions: cv::Exception from OpenCV only; pass 1 raises one when the rescale truncates
  //     a side of the blob to 0 pixels (a 1 x 40 blob on a 20 x 20 pad is scaled by 0.5).
  //   Example: float para[3] = {w, h, 0}, score;
  //            obj->FollowCadOverlay(boundary, cad, measured, para, nullptr, &score);
  virtual int FollowCadOverlay(unsigned char* boundaryMask, unsigned char* cadPad,
                               unsigned char* measuredPad, float* para, void* ignored,
                               float* score);

  // Slot 21. Ring-shaped regions by morphology. Contour rules as for slot 6; para[3] is the
  // ring radius r. Dispatch: mode < 100 runs the band routine with (planeC, planeB, planeA,
  // para, plane); mode >= 100 runs the between-masks routine with (planeA, planeB, planeC, para).
  // The mode is not passed on.
  //   mode < 100, band around the blob edges of plane (source, read): planeA band out
  //     (required; dilated minus eroded), planeB outer ring out (dilated minus source) or null,
  //     planeC inner ring out (source minus eroded) or null. Blob edges on the plane border get
  //     no ring. para out: [5] band, [6] outer ring, [7] inner ring pixel counts.
  //   mode >= 100, ring between two masks (e.g. a pad and the paste printed on it): planeA
  //     outer mask (read), planeB inner mask (read), planeC ring out (required; planeA
  //     foreground not covered by planeB, opened with the disc so slivers narrower than it
  //     vanish; r = 0 keeps all). plane is not read. para out: [5] ring pixel count, [6] number of
  //     ring pieces.
  //   Outputs are 255 inside, 0 outside. Returns -1 also for a missing required plane.
  //   Example: float p[8] = {w, h, 0, 2};
  //            obj->MorphRing(band, outerRing, innerRing, p, 0, padMask);
  virtual int MorphRing(unsigned char* planeA, unsigned char* planeB, unsigned char* planeC,
                        float* para, int mode, unsigned char* plane);

  // Slot 22. Fills polygons given by the host into a plane, with a level or with the samples
  // of a source plane (cutting regions such as CAD pads out of an image).
  //   target: target plane (read and written; only pixels inside a polygon change).
  //   ignored: not read. contours: polygons as 32-bit integers: n, then per polygon k followed by k
  //   (x, y) pairs (pixel coordinates; parts outside the plane are clipped). Each polygon is
  //   filled on its own (boundary included), so overlaps stay filled.
  //   source: source plane (read) whose samples are copied inside the polygons, or null to fill
  //   with the level.
  //   para in: [0] width, [1] height, [2] fill level (clamped 0..255), [3] number of integers
  //     in contours (reads never go past it), [4] debug switch (window "matFilledContours").
  //   para out: [5] polygons filled, [6] pixels inside them.
  //   Returns -1, touching nothing, for a null target, para or contours, a size below 1, or
  //   malformed contours (n < 0, k < 1, a record running past [3], a coordinate beyond +-2^24);
  //   else 0.
  //   Example: int poly[] = {1, 4, 0, 0, 9, 0, 9, 9, 0, 9}; float p[7] = {w, h, 255, 10};
  //            obj->FillContours(plane, p, nullptr, poly, nullptr);  // a 10 x 10 square
  virtual int FillContours(unsigned char* target, float* para, void* ignored, int* contours,
                           unsigned char* source);

  // Slot 23. Canny edge map with thresholds chosen from the plane's own histogram of L1
  // gradient magnitudes (3x3 Sobel, replicated border), optionally turned into a filled mask.
  // src: width x height plane (read). dst: width x height plane (written; may be src).
  // para (in): [0] width, [1] height, [2] stage: 0 writes the raw edge map (255 on edges,
  //   0 elsewhere); any other value runs the contour stage: the edge map is closed with a
  //   5x5 elliptical element, its external contours whose area (pixels, measured through
  //   the outline's pixel centres) reaches para[4] are kept and drawn filled in 255 on 0.
  //   [3] debug: non-zero shows "matEdges" (the edge map) and, in the contour stage,
  //   "matContours" (the mask written to dst), then waits 1 ms so the windows paint.
  //   Integer entries are truncated toward zero. [4] minimum contour area, read only by
  //   the contour stage (0 or less keeps every contour).
  // result (out, 4 floats): [0] low threshold, [1] high threshold (both 0 on a flat plane or
  //   when fewer than half the pixels have a gradient), [2] number of edge pixels of the raw
  //   map, [3] number of contours kept (0 for stage 0).
  // Status: -1 when src, dst, para or result is null or width or height is below 1 (nothing
  //   written), else 0. cv::Exception may leave it only from inside OpenCV.
  // Example: float para[5] = {w, h, 1, 0, 50}, result[4];
  //          int status = obj->DetectEdgesCanny(plane, para, mask, result);
  virtual int DetectEdgesCanny(unsigned char* src, float* para, unsigned char* dst, float* result);

  // Slot 24. Two-point flat-field calibration: per-sample offsets and gains (the table slot 25
  // applies) that map a sample reading its first calibration level to a target level.
  //   stack (in): 6n images of W x H bytes back to back; images 0..2 are the three colour
  //     planes at the first level, 3..5 at the second; further groups only enter their means.
  //   para (in): [0] not read, [1] n (groups), [2] W, [3] H, [4] k, odd side of the filter
  //     window, [5] fHi, [6] fLo (a window sample s takes part when mean*fLo < s < mean*fHi,
  //     mean = that image's sample mean), [7] target of images 0..2, [8] target of images 3..,
  //     [9] minCount (fewer accepted samples take the truncated image mean instead).
  //   notRead: ignored. coefficients (out, 6*W*H floats): 3*W*H offsets, then 3*W*H gains,
  //     planes 0, 1, 2 in turn. Every plane is corrected with the means of images 2 and 5
  //     and the target of image 2; where both levels filter equal, the first is nudged by
  //     1e-5 (very large coefficients). cleared (out): set to 0 first.
  //   Returns 0. An even k (0 and negatives included) returns at once with only cleared written; so
  //   do n < 1, W < 1 or H < 1. Negative odd k gives empty windows. A mean of 0 gives
  //   infinite or NaN coefficients. Pointers and buffer lengths are not checked.
  //   Example: float p[10] = {0, 1, w, h, 3, 1.5f, 0.5f, 200, 250, 5}; int cleared;
  //            obj->ComputeFlatFieldCoefficients(stack, p, 0, table, &cleared);  // table: 6*w*h
  virtual int ComputeFlatFieldCoefficients(unsigned char* stack, float* para, int notRead,
                                           float* coefficients, int* cleared);

  // Slot 25. Per-sample gain and offset: dst[i] = low byte of trunc(src[i] * coefficients[count
  // + i] + coefficients[i]), in single precision, for i < count. No saturation: 256 gives 0,
  // -1 gives 255; NaN and infinities give 0.
  //   src (in) and dst (out): count bytes each (dst may be src). coefficients (in): count
  //     offsets followed by count gains (the layout slot 24 writes, with count = 3*W*H).
  //   Returns 0; a null src or coefficients, or count <= 0, does nothing. dst is not checked.
  //   Example: obj->ApplyGainOffset(planes, table, 3 * w * h, corrected);
  virtual int ApplyGainOffset(unsigned char* src, float* coefficients, int count,
                              unsigned char* dst);

  // Slot 26. Scores each pad blob that slot 27 wrote against a new grey image of the pads.
  //   plane: para[0] x para[1] grey samples (read only). ignored: not read.
  //   para (read only): [0] width, [1] height (truncated); [2] polarity as for slot 27;
  //     [3] debug (non-zero): windows "拆解图0" (each template in turn), "tmp/debug_Sobel",
  //     "tmp/debug_threshold"; no files. [4], [5] not read; [6] template count K (truncated):
  //     the number of blobs slot 27 wrote.
  //   blobPixels, blobRects (in): slot 27's buffers as it left them. Template i is
  //     blobRects[4i+2] x blobRects[4i+3] bytes following template i-1 in blobPixels; x and y
  //     are not read. A template of non-positive size takes no bytes and scores 0.
  //   scores (out, K floats): scores[0] = 0 first; then scores[i] = the mean of template i's
  //     best normalised cross-correlation over the Otsu-binarised plane and the shape
  //     agreement there (covered share of the template minus spilled share after aligning
  //     the blob, divided by 2^(1-v) for the size ratio; may be negative). About 1 on the
  //     reference image. A template larger than the plane in either direction, by one line
  //     or more, is matched inside a black border of the excess + 5 pixels; one without a set
  //     pixel scores 0.
  //   Alignment of the patch under a template: as slot 20's pass 1 (linear rescale of the
  //     blob's box by the ratio nearer 1, pulled back one line from the right and bottom
  //     edges, placed alone, moved onto the template's centroid and clamped). When the pulled
  //     back box still starts left of or above the patch, the box is scaled once more by the
  //     ratio of patch to box nearer 1 (truncated), the crop is resized to it with cubic
  //     interpolation from that same top-left corner, without a second edge correction, and
  //     then clamped and placed.
  //   Returns 0 always. Null blobPixels or blobRects, K < 1, a null plane or a zero area:
  //     only scores[0] = 0 is written.
  //   Exceptions: cv::Exception from OpenCV only; as in slot 20, a rescale that truncates a
  //     side of the patch's blob to 0 pixels raises one. No template size does.
  //   Example: float p[7] = {w, h, 1, 0, 0, 0, grid[1]}, scores[64];
  //            obj->MatchPadTemplates(plane, p, nullptr, scores, pixels, rects);
  virtual int MatchPadTemplates(unsigned char* plane, float* para, void* ignored, float* scores,
                                unsigned char* blobPixels, int* blobRects);

  // Slot 27. Splits a grey image of pads into pad blobs and reports the pad grid; slot 26
  // scores later images against the blobs written here.
  //   plane: para[0] x para[1] grey samples (read only). ignored: not read.
  //   para (read only): [0] width, [1] height (truncated); [2] polarity: non-zero = pads
  //     brighter than the ground; [3] debug (non-zero): windows "tmp/debug_Sobel",
  //     "tmp/debug_threshold", "tmp/debug_Contours", "matFillContours", and in the projection
  //     method "二值化图片", "二值图像", "水平投影", "垂直投影", "0.jpg", "1.jpg"...; no files.
  //     [4] grid rows, [5] grid columns (truncated; a grid is given unless either is 0, so
  //     negative values and NaN, read as INT_MIN, are a given grid: the contour method
  //     reports para[5] as it reads, the projection method keeps no band for a negative count).
  //   Contour method: external contours of the Otsu-binarised image (5x5 Gaussian), sorted by
  //     point count and cut at the first whose area is below 0.3 of the previous one's; each
  //     blob is the filled-contour mask (255 on 0) inside its contour's bounding box.
  //   Projection method, only when no contour exists (the Otsu image is empty: a plane that
  //     the 5x5 Gaussian makes flat, such as specks too faint to survive it, which the 3x3
  //     box blur of this method keeps): the strongest closed band of non-empty
  //     rows or columns (a band touching the right or bottom edge never closes) is split
  //     across into one blob of grey samples per pad, each one line longer than its pad.
  //   gridShape (out, 2 floats): [0] rows, [1] columns. Contours: (1, para[5] when a grid is
  //     given, else the blob count). Projections: (1, n) for a band of rows, (n, 1) for a band
  //     of columns; n = the given grid value of that axis or the number of blobs.
  //   blobRects (out, may be null): 4 ints per entry: x, y (top-left in plane pixels), width,
  //     height. Contours write one entry per blob. Projections write x, y for gridShape[0] *
  //     gridShape[1] entries (those past the blobs found hold the band's offset or 0, not a
  //     blob) and width, height per blob.
  //   blobPixels (out, may be null): the blobs back to back, each width x height bytes row by
  //     row without padding, in blob order.
  //   Buffer sizes are not checked. For at most K blobs: blobRects needs 4 * K ints (4 * the
  //     grid's cell count if a larger grid is given), blobPixels the sum of the blobs'
  //     width * height, at most K * width * height bytes.
  //   Returns 0 always. Nothing found (also a null plane or a zero area): gridShape,
  //     blobRects and blobPixels are left untouched.
  //   Exceptions: cv::Exception from OpenCV only.
  //   Example: float p[6] = {w, h, 1, 0, 0, 0}, grid[2]; int rects[4 * 64];
  //            obj->SplitPadBlobs(plane, p, nullptr, grid, pixels /* 64 * w * h */, rects);
  virtual int SplitPadBlobs(unsigned char* plane, float* para, void* ignored, float* gridShape,
                            unsigned char* blobPixels, int* blobRects);

  // Slot 28. Most frequent grey level of each of three planes, among levels 5..249 only.
  //   plane0, plane1, plane2 (in): width x height planes. levels (out, 3 bytes): their levels;
  //     the lowest level wins a tie; a plane with no sample in 5..249 (or a width or height
  //     below 1) gives 0. Returns 0. Plane pointers are not checked.
  //   Example: unsigned char levels[3];
  //            obj->FindDominantLevels(r, g, b, w, h, levels);
  virtual int FindDominantLevels(unsigned char* plane0, unsigned char* plane1,
                                 unsigned char* plane2, int width, int height,
                                 unsigned char* levels);

  // Slot 29. Paints the black pixels (R, G and B all <= 5) inside the area showing a
  // reference colour with that colour, in place, then copies the planes to outR, outG, outB.
  //   r, g, b (in/out): width x height planes. outR, outG, outB (out): receive r, g, b.
  //   para (in): [0] width, [1] height, [2..4] reference R, G, B (low byte of the truncated
  //     value), [5] worker threads: non-zero calls cv::setNumThreads (process-wide, stays in
  //     force), 0 leaves OpenCV's setting alone.
  //   The area is the bounding box of pixels within 5 of the reference in every channel,
  //   found from one row and one column in twenty (every one on planes under 20 samples);
  //   its last row and last column are not painted. Rows are painted in parallel through
  //   cv::parallel_for_. Returns 0; a width or height below 1 does nothing. Pointers are not
  //   checked.
  //   Example: float p[6] = {w, h, 120, 80, 40, 0};
  //            obj->FillBlackHoles(r, g, b, p, outR, outG, outB);
  virtual int FillBlackHoles(unsigned char* r, unsigned char* g, unsigned char* b, float* para,
                             unsigned char* outR, unsigned char* outG, unsigned char* outB);

  // Slot 30. Dispatch on trunc(para[0]), one of the HeightMapMode values: kMedianFilterMode
  // runs the windowed median filter (described below); kNoOperationMode returns at once
  // touching nothing; any other mode returns -1. The status of both modes carries no meaning.
  enum HeightMapMode : int { kMedianFilterMode = 0, kNoOperationMode = 1 };
  // Mode 0, square-window median of a float plane (width x height floats, rows packed):
  //   heights (in/out): the plane; receives the medians. filtered (out): receives the plane
  //     as it was before the call.
  //   para (in): [0] kMedianFilterMode, [1] width, [2] height, [3] window k (reaches (k - 1) / 2
  //   samples
  //     each way, clipped at the borders; k < 0 leaves every window empty), [4] lower limit L,
  //     [5] upper limit U (both truncated), [6] even-count rule: within 0.001 of 0 the lower
  //     middle value, within 0.001 of 1 the upper one, else their mean, [7] limit switch:
  //     |[7]| <= 0.001 takes only samples strictly between L and U, else every sample. Both
  //     compare in single precision (a host's 0.001f is within 0.001).
  //   An empty window (all samples rejected, or k < 0) gives L. The values are sorted with
  //   an arithmetic exchange in single precision that rounds values of widely different
  //   magnitude; those rounded values are the result. A width or height below 1 does
  //   nothing. Pointers are not checked.
  //   Example: float p[8] = {0, w, h, 5, 0, 1000, 2, 0};
  //            obj->Slot30Dispatch(heightMap, copy, p);
  virtual int Slot30Dispatch(float* heights, float* filtered, float* para);

  // Slot 31. Loads an image file into three planes that the library allocates with
  // operator new (release each with operator delete).
  //   path: path characters, not zero-terminated; para[0] = their count (<= 0: empty path).
  //   channel2/channel1/channel0 receive channel 2 (red) / 1 (green) / 0 (blue); grey files give
  //   three equal planes. para[1] = width, para[2] = height (written first; 0 when unreadable).
  //   Returns 0. An unreadable file throws std::out_of_range("invalid vector<T> subscript")
  //   with nothing allocated and the channel pointers untouched. Pointers are not checked.
  //   Example: float p[3] = {8}; unsigned char *r, *g, *b;
  //            obj->LoadImagePlanes((unsigned char*)"board.png", &r, &g, &b, p);
  virtual int LoadImagePlanes(unsigned char* path, unsigned char** channel2,
                              unsigned char** channel1, unsigned char** channel0, float* para);

  // Slot 32. Saves three planes as one colour image; the format follows the extension.
  //   path: path characters (para[0] = count); channel2 = channel 2 (red), channel1 = channel 1,
  //   channel0 = channel 0 (blue); para[1] = width, para[2] = height.
  //   Returns -1 when any pointer is null (nothing written), else 0 (a failed write is not
  //   reported). An unknown extension or an empty image raises cv::Exception.
  virtual int SaveImagePlanes(unsigned char* path, unsigned char* channel2, unsigned char* channel1,
                              unsigned char* channel0, float* para);

  // Slot 33. Resizes three planes with cv::resize into the caller's destination planes.
  //   src0, src1, src2 (in): source planes; dst0, dst1, dst2 (out): destination planes
  //     (src0 -> dst0, src1 -> dst1, src2 -> dst2).
  //   para (in): [0] source width, [1] source height, [2] destination width, [3] destination
  //     height, [4] 1 = bicubic, any other value bilinear.
  //   Returns -1, touching nothing, when the destination width or height is below 1; else 0.
  //   A source size below 1 raises cv::Exception (empty source). Pointers are not checked.
  //   Example: float p[5] = {640, 480, 320, 240, 0};
  //            obj->ResizePlanes(r, g, b, smallR, smallG, smallB, p);
  virtual int ResizePlanes(unsigned char* src0, unsigned char* src1, unsigned char* src2,
                           unsigned char* dst0, unsigned char* dst1, unsigned char* dst2,
                           float* para);

  // Slot 34. Draws a filled mask of the blobs: 255 inside every outer contour (holes
  // filled), 0 elsewhere. Contour rules as for slot 6.
  //   mask: mask out (required). plane: source (read).
  //   para in: [3] minimum enclosed pixel count (smaller blobs are left out).
  //   para out: [5] blobs drawn, [6] mask pixels set.
  //   Example: float p[7] = {w, h, 0, 20};
  //            obj->DrawContourMask(mask, plane, p);
  virtual int DrawContourMask(unsigned char* mask, unsigned char* plane, float* para);

  // Slot 35. Counting sort of 32-bit integers in place, with an optional stable permutation.
  //   values (in/out): n integers. permutation (out, n ints): input position of each sorted
  //     entry; equal values keep their input order.
  //   para (in): [0] n, [1] 1 = ascending, any other value descending, [2] K: 0 sorts all;
  //     otherwise writing stops after the value whose repetitions bring the count to K or
  //     more (later entries keep their values), [3] 1 = write the permutation (only for the
  //     entries written), any other value leaves it untouched.
  //   Returns 0; n <= 0 does nothing. Memory grows with the value spread only while it is
  //   comparable to n (wider spreads sort a copy). Pointers are not checked.
  //   Example: int v[4] = {3, 1, 2, 1}, perm[4]; float p[4] = {4, 1, 0, 1};
  //            obj->CountingSortValues(v, p, perm);  // v = 1 1 2 3, perm = 1 3 2 0
  virtual int CountingSortValues(int* values, float* para, int* permutation);

  std::int32_t tag = 5;  // set to 5 by the factory; read by no operation
};

class NFunction_IF {
 public:
  // Slot 0. Inverts a plane in place. para with at least paraCount entries:
  //   [0] width, [1] height, [2] switch (0.0 leaves the plane alone; anything else, NaN too,
  //   inverts the first width*height samples: v -> 255 - v).
  //   Returns -1 when paraCount < 3 (nothing touched), else 0.
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
