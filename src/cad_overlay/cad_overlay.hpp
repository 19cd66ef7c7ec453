// CAD overlay and pad analysis: the operations of slots 20, 26 and 27.
#ifndef IMGTARN_CAD_OVERLAY_CAD_OVERLAY_HPP
#define IMGTARN_CAD_OVERLAY_CAD_OVERLAY_HPP

namespace imgtarn::cad_overlay {

// Receives the CAD pad first: slot 20 swaps its first two arguments.
int FollowCadOverlay(unsigned char* cadPad, unsigned char* boundaryMask,
                     unsigned char* measuredPad, float* para, float* score);
int MatchPadTemplates(unsigned char* plane, float* para, float* scores,
                      unsigned char* blobPixels, int* blobRects);
int SplitPadBlobs(unsigned char* plane, float* para, float* gridShape, unsigned char* blobPixels,
                  int* blobRects);

}  // namespace imgtarn::cad_overlay

#endif  // IMGTARN_CAD_OVERLAY_CAD_OVERLAY_HPP
