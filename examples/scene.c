#include "scene.h"

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { BANDS = 36, FIRST_NM = 380, STEP_NM = 10 };

static int read_names(char* line, Chart* chart)
{
    char* name = strtok(line, ",\r\n"); /* the column of wavelengths */
    while ((name = strtok(NULL, ",\r\n")) != NULL) {
        if (chart->patches == MOST_PATCHES)
            return -1;
        snprintf(chart->names[chart->patches++], NAME_SIZE, "%s", name);
    }
    return chart->patches > 0 ? 0 : -1;
}

static int read_band(const char* line, int band, Chart* chart)
{
    char* rest;
    if (strtol(line, &rest, 10) != FIRST_NM + STEP_NM * band)
        return -1;
    for (int patch = 0; patch < chart->patches; ++patch) {
        if (*rest != ',')
            return -1;
        chart->spectra[patch][band] = strtof(rest + 1, &rest);
    }
    return 0;
}

int read_chart(const char* path, Chart* chart)
{
    char line[1024];
    int result = -1;
    FILE* file = fopen(path, "r");
    memset(chart, 0, sizeof *chart);
    if (file == NULL)
        return -1;
    if (fgets(line, sizeof line, file) != NULL)
        result = read_names(line, chart);
    for (int band = 0; band < BANDS && result == 0; ++band)
        result = fgets(line, sizeof line, file) != NULL ? read_band(line, band, chart) : -1;
    fclose(file);
    return result;
}

int lay_strip(oxv_device device, const Chart* chart)
{
    int result = oxv_strip_clear(device);
    for (int patch = 0; patch < chart->patches && result == OXV_OK; ++patch)
        result = oxv_strip_add(device, chart->spectra[patch], BANDS, FIRST_NM, STEP_NM, 0.4, 0.04);
    return result;
}

/* Three bell curves: the primaries of a screen, W / (sr m2 nm). */
void fill_screen_white(float radiance[36])
{
    static const double peaks[3][3] = {{450, 9, 0.012}, {535, 17, 0.008}, {620, 14, 0.009}};
    for (int band = 0; band < BANDS; ++band) {
        const double nm = FIRST_NM + STEP_NM * band;
        double sum = 0.0002;
        for (int primary = 0; primary < 3; ++primary) {
            const double x = (nm - peaks[primary][0]) / peaks[primary][1];
            sum += peaks[primary][2] * exp(-0.5 * x * x);
        }
        radiance[band] = (float)sum;
    }
}

/* A Planck radiator of 2856 K, W / (m2 nm). */
void fill_room_light(float irradiance[36])
{
    for (int band = 0; band < BANDS; ++band) {
        const double nm = FIRST_NM + STEP_NM * band;
        const double relative =
            pow(560 / nm, 5) * (exp(1.4388e7 / (2856 * 560)) - 1) / (exp(1.4388e7 / (2856 * nm)) - 1);
        irradiance[band] = (float)(0.01 * relative);
    }
}
