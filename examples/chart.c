/* chart.c - measures a chart with the virtual spectrophotometer: a scan of its patches, then a spot, a screen, the
 * light of a room, and a flash. Everything but the scene goes through the calls that a real instrument is driven by.
 *
 *     chart FILE.csv     reflectance factors: a header line with the patches' names, then a line for each wavelength
 */
#include "scene.h"

#include <inttypes.h>
#include <orvex/color.h>
#include <orvex/ox.h>
#include <stdio.h>
#include <stdlib.h>

static void on_error(const char* call, int32_t code, const char* message)
{
    fprintf(stderr, "%s: %s (code %" PRId32 ")\n", call, message, code);
}

static void check(OX_Result result)
{
    if (result != OX_NoError)
        exit(EXIT_FAILURE); /* the handler has told why */
}

static void check_scene(int result)
{
    if (result >= OXV_OK)
        return;
    fprintf(stderr, "bench: %s\n", oxv_last_error());
    exit(EXIT_FAILURE);
}

static void set(const char* key, const char* value)
{
    check(OX_SetOption(key, value));
}

/* A sample in a colour space. */
static void read_color(const char* space, int32_t index, float values[3])
{
    set("ColorSpaceDescription.Type", space);
    check(OX_GetTriStimulus(values, index));
}

static void print_spectrum(const char* unit)
{
    float spectrum[36];
    check(OX_GetSpectrum(spectrum, 0));
    for (int band = 0; band < 36; band += 5)
        printf("    %d nm %-9.4g", 380 + 10 * band, spectrum[band]);
    printf(" %s\n", unit);
}

static void check_color(int32_t result)
{
    if (result == OX_NoError)
        return;
    fprintf(stderr, "color: %s\n", oxc_error());
    exit(EXIT_FAILURE);
}

/* How far the measured colours lie from those of the patches as they are: CIE 1976, D50, 2 degrees. */
static void compute_distances(const Chart* chart, const float* lab, float* distances)
{
    static float known[MOST_PATCHES][3];
    const size_t patches = (size_t)chart->patches;
    oxc_conditions* conditions = oxc_conditions_new();
    check_color(oxc_set(conditions, "Colorimetric.Illumination", "D50"));
    check_color(oxc_colors(conditions, chart->spectra[0], patches, known[0]));
    check_color(oxc_differences(conditions, known[0], lab, patches, 0, 0, 0, distances));
    oxc_conditions_free(conditions);
}

static void scan_chart(oxv_device device, const Chart* chart)
{
    static const char filters[] = "CMYK";
    float lab[MOST_PATCHES][3], lch[MOST_PATCHES][3], density[MOST_PATCHES][4], distances[MOST_PATCHES];
    int32_t filter[MOST_PATCHES];

    set("MeasurementMode", "ScanningReflectance");
    set("Colorimetric.Illumination", "D50");
    set("Recognition", "yes");
    check_scene(oxv_set_text(device, "position", "tile"));
    check(OX_Calibrate());
    check_scene(lay_strip(device, chart));
    check_scene(oxv_set_text(device, "position", "strip"));
    check(OX_TriggerMeasurement());

    const int32_t found = OX_GetNumberOfAvailableSamples();
    printf("A row of %d patches, scanned: %" PRId32 " found (D50, 2 degrees)\n\n", chart->patches, found);
    if (found != chart->patches)
        exit(EXIT_FAILURE);
    for (int32_t i = 0; i < found; ++i) {
        read_color("CIELab", i, lab[i]);
        read_color("CIELCh", i, lch[i]);
        check(OX_GetDensities(density[i], &filter[i], i));
    }
    compute_distances(chart, lab[0], distances);
    printf("  %-16s %7s %7s %7s  %7s %7s  %-8s  %s\n", "patch", "L*", "a*", "b*", "C*", "h", "density", "distance");
    for (int32_t i = 0; i < found; ++i)
        printf("  %-16s %7.2f %7.2f %7.2f  %7.2f %7.2f  %c %5.2f   %8.3f\n", chart->names[i], lab[i][0], lab[i][1],
               lab[i][2], lch[i][1], lch[i][2], filters[filter[i] & 3], density[i][filter[i] & 3], distances[i]);
}

static void measure_spot(oxv_device device, const Chart* chart)
{
    float lab[3];
    const int patch = chart->patches / 2;
    set("MeasurementMode", "SingleReflectance");
    set("Colorimetric.Illumination", "D50");
    check_scene(oxv_set_text(device, "position", "tile"));
    check(OX_Calibrate());
    check_scene(oxv_set_curve(device, "sample", chart->spectra[patch], 36, 380, 10));
    check_scene(oxv_set_text(device, "position", "sample"));
    check(OX_TriggerMeasurement());
    read_color("CIELab", 0, lab);
    printf("\nA spot of %s: L* %.2f  a* %.2f  b* %.2f\n", chart->names[patch], lab[0], lab[1], lab[2]);
    print_spectrum("");
}

static void measure_light(oxv_device device, const char* mode, const char* position, const char* what, const char* unit)
{
    float xyy[3];
    set("MeasurementMode", mode);
    set("AdaptiveMode", "yes");
    check_scene(oxv_set_text(device, "position", "dark"));
    check(OX_Calibrate());
    check_scene(oxv_set_text(device, "position", position));
    check(OX_TriggerMeasurement());
    read_color("CIExyY", 0, xyy);
    printf("\n%s: x %.4f  y %.4f\n", what, xyy[0], xyy[1]);
    print_spectrum(unit);
}

static void measure_flash(oxv_device device)
{
    float flash[36];
    for (int band = 0; band < 36; ++band)
        flash[band] = 25.0F;
    set("MeasurementMode", "ScanningAmbientLight");
    set("Recognition", "yes");
    check_scene(oxv_set_text(device, "position", "dark"));
    check(OX_Calibrate());
    check_scene(oxv_set_text(device, "position", "diffuser"));
    check_scene(oxv_flash(device, 0.3, 0.05, flash, 36, 380, 10));
    check(OX_TriggerMeasurement());
    printf("\nFlashes in the room: %" PRId32 " found\n", OX_GetNumberOfAvailableSamples());
    print_spectrum("W s / (m2 nm), the light of the flash alone");
}

int main(int count, char** arguments)
{
    Chart chart;
    float screen[36], room[36];
    if (count != 2 || read_chart(arguments[1], &chart) != 0) {
        fprintf(stderr, "usage: chart FILE.csv\n");
        return EXIT_FAILURE;
    }
    const oxv_device device = oxv_attach("spectrophotometer", "usb");
    check_scene(device);
    fill_screen_white(screen);
    fill_room_light(room);
    check_scene(oxv_set_curve(device, "emission", screen, 36, 380, 10));
    check_scene(oxv_set_curve(device, "ambient", room, 36, 380, 10));

    OX_RegisterErrorHandler(on_error);
    printf("%s\n", OX_GetOption("Version"));
    printf("serial number %s\n", OX_GetOption("SerialNumber"));
    printf("modes %s\n\n", OX_GetOption("AvailableMeasurementModes"));
    scan_chart(device, &chart);
    measure_spot(device, &chart);
    measure_light(device, "SingleEmission", "source", "A screen", "W / (sr m2 nm)");
    measure_light(device, "SingleAmbientLight", "diffuser", "The light of the room", "W / (m2 nm)");
    measure_flash(device);
    check(OX_SetOption("Reset", "All"));
    return EXIT_SUCCESS;
}
