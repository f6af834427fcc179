/* scene.h - what the example puts before the virtual instrument. */
#ifndef SCENE_H
#define SCENE_H

#include <orvex-virtual.h>

enum { MOST_PATCHES = 32, NAME_SIZE = 32 };

/* A chart: reflectance factors from 380 nm in steps of 10 nm. */
typedef struct Chart {
    int patches;
    char names[MOST_PATCHES][NAME_SIZE];
    float spectra[MOST_PATCHES][36];
} Chart;

/* Reads a chart from a CSV file: a header line with the names, then a line for each wavelength. 0 if all went well. */
int read_chart(const char* path, Chart* chart);

/* Lays the chart's patches in a row under the moving instrument. */
int lay_strip(oxv_device device, const Chart* chart);

/* Lamps of the example, 36 values from 380 nm in steps of 10 nm. */
void fill_screen_white(float radiance[36]);
void fill_room_light(float irradiance[36]);

#endif
