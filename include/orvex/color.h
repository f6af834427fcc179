/* color.h - colour without an instrument: spectra, colours, differences and densities in bulk
 *
 * The colour engine of the library for programs that have their spectra already: from a file, a database, another
 * instrument. No call here touches a device, a lock, a file or the state behind the OX_ calls. The numbers are those of
 * OX_GetTriStimulus and OX_GetDensities, to the bit, whether a row comes alone or among a million others.
 *
 * A spectrum is OXC_BANDS floats: 380 nm to 730 nm in steps of 10 nm; reflectance factors (1.0 is the perfect white),
 * transmittances, or the power of a light. Arrays are rows without gaps. An output may be the input array where both
 * rows have the same length, and never overlaps it otherwise.
 *
 * Conditions say how: illuminant, observer, white, colour space, difference formula, density standard. They carry all
 * their state (weights, paper, user's illuminant): any number of threads may use one object at once; who sets one has
 * it for himself.
 *
 * A call returns OX_NoError, OX_InvalidParameter (null, unknown text, not a number where one is needed, arrays that
 * overlap), OX_CalculationFailed, OX_NoSubstrate (white base Paper without a paper), OX_NotSupported (no such
 * conversion or formula) or OX_InternalError (out of memory). Such a call writes nothing. A row that has no result
 * becomes NaN (integers: -1): OX_InvalidParameter where the row holds something that is no finite number,
 * OX_CalculationFailed where its result would be none; the other rows are computed all the same, the call returns the
 * code of the first such row, and oxc_error() names it. count may be 0, and arrays null then. Compiles as C99 and as
 * C++.
 */
#ifndef ORVEX_COLOR_H
#define ORVEX_COLOR_H

#include "ox.h"

#include <stddef.h>
#include <stdint.h>

#define OXC_BANDS 36

#ifdef __cplusplus
extern "C" {
#endif

typedef struct oxc_conditions oxc_conditions;

/** The conditions of a fresh reflectance mode: D65, 2 degree observer, white base Absolute, CIELab, density DIN Auto.
 *  @return null: out of memory */
OX_API oxc_conditions* oxc_conditions_new(void);
/** @return null: out of memory, or conditions is null */
OX_API oxc_conditions* oxc_conditions_copy(const oxc_conditions* conditions);
/** @param conditions  null is allowed */
OX_API void oxc_conditions_free(oxc_conditions* conditions);

/** Sets one condition. Computes the weights when the illuminant or the observer changes, some microseconds.
 *  @param key    "Colorimetric.Illumination", "Colorimetric.Observer", "Colorimetric.WhiteBase",
 *                "Colorimetric.DensityStandard", "Colorimetric.DensityFilterMode", "ColorSpaceDescription.Type",
 *                "ColorSpaceDescription.DeltaEFormula"
 *  @param value  as for OX_SetOption; daylight of another temperature is "Dxx, Temperature:" and a number in kelvin
 *  @return OX_NoError; OX_InvalidParameter. A refusal changes nothing. */
OX_API int32_t oxc_set(oxc_conditions* conditions, const char* key, const char* value);

/** @return the value; "" for an unknown key; until the next oxc_set of these conditions. */
OX_API const char* oxc_get(const oxc_conditions* conditions, const char* key);

/** @return the accepted values of a key one by one, index from 0; null behind the last, and for an unknown key.
 *          Daylights by temperature are not among them. */
OX_API const char* oxc_value(const char* key, size_t index);

/** The illuminant "Userdefined", which becomes that of the conditions. It is kept while another is set.
 *  @param spectrum  36 values of relative power
 *  @return OX_NoError; OX_InvalidParameter, also for a spectrum that gives no white. A refusal changes nothing. */
OX_API int32_t oxc_set_illuminant(oxc_conditions* conditions, const float* spectrum);

/** The paper of white base Paper and Automatic.
 *  @param spectrum  36 reflectance factors, copied; null takes the paper away
 *  @return OX_NoError; OX_InvalidParameter: no value above 0, or one that is not finite. A refusal changes nothing. */
OX_API int32_t oxc_set_paper(oxc_conditions* conditions, const float* spectrum);

/** @return the text of the last failure on the calling thread, with the index of the row where there is one; "" after a
 *          success. Until the next call on this thread. */
OX_API const char* oxc_error(void);

/** Spectra to colours.
 *  @param spectra  count x 36
 *  @param colors   count x 3, in the colour space of the conditions */
OX_API int32_t oxc_colors(const oxc_conditions* conditions, const float* spectra, size_t count, float* colors);

/** Colours of one space to another, under the white of the conditions: "CIEXYZ" to "CIELab", "CIExyY", "CIEuvY1976",
 *  "CIEuvY1960", "RGB"; "CIELab" to "CIEXYZ", "CIELCh", "RGB"; "CIExyY" to "CIEuvY1976", "CIEuvY1960"; "CIELuv" to
 *  "CIELChuv"; "LABvd" to "LCHvd"; any to itself.
 *  @param colors     count x 3
 *  @param converted  count x 3, may be colors */
OX_API int32_t oxc_convert(const oxc_conditions* conditions, const char* from, const float* colors, size_t count,
                           const char* to, float* converted);

/** Differences of Lab colours by the formula of the conditions: "CIELab", "CMC", "94" or "2000".
 *  @param reference_lab, sample_lab  count x 3 each; may be the same array
 *  @param p1, p2, p3                 l, c of "CMC" (2, 1) and kL, kC, kH of "94" and "2000" (1); 0: default
 *  @param differences                count */
OX_API int32_t oxc_differences(const oxc_conditions* conditions, const float* reference_lab, const float* sample_lab,
                               size_t count, float p1, float p2, float p3, float* differences);

/** Differences of spectra by any formula of the conditions.
 *  @param reference, sample  count x 36 each */
OX_API int32_t oxc_spectral_differences(const oxc_conditions* conditions, const float* reference, const float* sample,
                                        size_t count, float p1, float p2, float p3, float* differences);

/** The index of metamerism, multiplicative, when the light changes from that of the conditions to that of `test`.
 *  @param test               its illuminant counts, and nothing else
 *  @param reference, sample  count x 36 each
 *  @param indices            count */
OX_API int32_t oxc_metamerism(const oxc_conditions* conditions, const oxc_conditions* test, const float* reference,
                              const float* sample, size_t count, float* indices);

/** Densities of the conditions' standard; above the paper unless the white base is Absolute.
 *  @param spectra    count x 36
 *  @param densities  count x 4: black, cyan, magenta, yellow
 *  @return besides: OX_NotSupported for the standards "User" and "Undefined" */
OX_API int32_t oxc_densities(const oxc_conditions* conditions, const float* spectra, size_t count, float* densities);

/** The density by the filter mode of the conditions.
 *  @param densities  count
 *  @param filters    may be null; receives 0 to 3 for black, cyan, magenta, yellow: the channel that was taken, under
 *                    Max the one that Auto would take */
OX_API int32_t oxc_density(const oxc_conditions* conditions, const float* spectra, size_t count, float* densities,
                           int32_t* filters);

/** Correlated colour temperatures of lights, 2 degree observer.
 *  @param lights  count x 36
 *  @param kelvin  count; whole, from 250 to 999950; -1: none */
OX_API int32_t oxc_temperatures(const float* lights, size_t count, float* kelvin);

/** General colour rendering indices of lights, in the way of CIE 13.3.
 *  @param indices  count; whole; 0 where there is none
 *  @param valid    count; 1 where the light lies near enough to its reference for the index to mean something, else 0
 */
OX_API int32_t oxc_rendering_indices(const float* lights, size_t count, float* indices, int32_t* valid);

/** A reflectance spectrum between 0 and 1 that has this Lab under the conditions, within 0.1. It is not smooth.
 *  @param lab      count x 3
 *  @param spectra  count x 36 */
OX_API int32_t oxc_spectra_of_lab(const oxc_conditions* conditions, const float* lab, size_t count, float* spectra);

/** Rows of another grid to count x 36. Steps below 10 nm are averaged over a triangle of 20 nm at the base (made to
 *  keep straight lines where the grid lies beside it); others interpolated: Sprague's polynomial of the fifth degree
 *  inside (CIE 167:2005), a parabola through the nearest three points in the outer two intervals. Bands outside the
 *  grid repeat its end.
 *  @param values    count x points, from first_nm in steps of step_nm
 *  @return besides: OX_InvalidParameter for a step that is not positive, fewer than 4 points, or a grid that covers
 *          less than 400 nm to 700 nm */
OX_API int32_t oxc_resample(const float* values, size_t points, double first_nm, double step_nm, size_t count,
                            float* spectra);

/** The patches of a strip whose number is known. The readings before the first and behind the last patch, gaps between
 *  patches and readings that lie over an edge belong to none.
 *  @param conditions     for the colours that are compared with the reference
 *  @param readings       count x 36: a scan, reading by reading (option "Recognition" off)
 *  @param patches        1 or more
 *  @param reference_lab  patches x 3, or null: roughly what is expected, in order. It decides among places that would
 *                        do, tells gaps from patches and equal neighbours from one another, and finds a strip that was
 *                        read from its end.
 *  @param spectra        patches x 36; receives the mean of each patch's own readings, single readings of dust or glint
 *                        left out, in the order of the reference or, without one, of the scan
 *  @param places         patches x 2, or null; receives the first and last reading of each, as indices of the scan
 *  @param reversed       may be null; receives 1 if the strip was read from the reference's end, else 0
 *  @return OX_NoError; OX_RecognitionFailed if there are not that many places where the colour stays (noise, a steady
 *          ramp, bare paper, no readings at all); OX_InvalidParameter also for readings or references that are not
 *          finite and for more readings than int32_t can name; with a reference OX_NoSubstrate, OX_CalculationFailed.
 *          Outputs stay as they were after a failure. Time and memory grow with readings times patches. */
OX_API int32_t oxc_find_patches(const oxc_conditions* conditions, const float* readings, size_t count, size_t patches,
                                const float* reference_lab, float* spectra, int32_t* places, int32_t* reversed);

#ifdef __cplusplus
}
#endif
#endif
