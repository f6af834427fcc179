/* display.c - measures a display with the virtual colorimeter: white, primaries and a ramp of greys, then the light of
 * the room. Everything but the scene goes through the calls that a real instrument is driven by.
 *
 *     display
 */
#include <inttypes.h>
#include <math.h>
#include <orvex-virtual.h>
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

/* The screen of the scene: the primaries and the white of IEC 61966-2-1 (sRGB), white of 120 cd/m2, black of 0.1, a
 * gamma of 2.2. XYZ of each primary at full drive, relative to a white of Y = 1. */
static const double primaries[3][3] = {{0.4124, 0.2126, 0.0193}, {0.3576, 0.7152, 0.1192}, {0.1805, 0.0722, 0.9505}};
static const double white_luminance = 120.0, black_luminance = 0.1, gamma_of_screen = 2.2;

static void show(oxv_device device, const double drive[3])
{
    static const char* const names[] = {"X", "Y", "Z"};
    for (int i = 0; i < 3; ++i) {
        double light = black_luminance;
        for (int channel = 0; channel < 3; ++channel)
            light += (white_luminance - black_luminance) * primaries[channel][i] * pow(drive[channel], gamma_of_screen);
        check_scene(oxv_set_number(device, names[i], light));
    }
}

/* Measures once, and reads the sample as x, y and Y in cd/m2. */
static void measure(float color[3])
{
    check(OX_TriggerMeasurement());
    set("ColorSpaceDescription.Type", "CIExyY");
    check(OX_GetTriStimulus(color, 0));
}

static float measure_patch(oxv_device device, const char* name, double red, double green, double blue)
{
    float color[3];
    show(device, (const double[3]){red, green, blue});
    measure(color);
    printf("  %-10s x %.4f  y %.4f  Y %8.3f cd/m2\n", name, color[0], color[1], color[2]);
    return color[2];
}

int main(void)
{
    const oxv_device device = oxv_attach("colorimeter-20", "usb");
    float color[3];
    check_scene(device);
    OX_RegisterErrorHandler(on_error);
    set("DeviceType", "OrvexDisplay"); /* found without it, too, unless a spectrophotometer is attached */
    printf("serial number %s\n", OX_GetOption("SerialNumber"));
    printf("modes %s\n\n", OX_GetOption("AvailableMeasurementModes"));

    set("ScreenType", "LCD");
    set("PatchIntensity", "Auto"); /* bleak or bright, as the instrument finds it */
    check(OX_Calibrate());
    printf("The display\n");
    const float white = measure_patch(device, "white", 1, 1, 1);
    measure_patch(device, "red", 1, 0, 0);
    measure_patch(device, "green", 0, 1, 0);
    measure_patch(device, "blue", 0, 0, 1);
    const float black = measure_patch(device, "black", 0, 0, 0);
    printf("\n  contrast %.0f : 1\n\nA ramp of greys\n", white / black);
    for (int step = 1; step < 5; ++step) {
        const double drive = step / 5.0;
        char name[16];
        snprintf(name, sizeof name, "%d %%", 20 * step);
        const float grey = measure_patch(device, name, drive, drive, drive);
        printf("  %-10s gamma %.3f\n", "", log((grey - black) / (white - black)) / log(drive));
    }

    set("MeasurementMode", "SingleAmbientLight");
    check_scene(oxv_set_text(device, "position", "diffuser"));
    measure(color);
    printf("\nThe light of the room: x %.4f  y %.4f  %.1f lux\n", color[0], color[1], color[2]);
    check(OX_SetOption("Reset", "All"));
    return EXIT_SUCCESS;
}
