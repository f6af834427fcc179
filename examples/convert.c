/* convert.c - colour without an instrument: the patches of a chart from a file, as Lab under two lights, as densities,
 * and how far each moves when the light changes.
 *
 *     convert FILE.csv     reflectance factors: a header line with the patches' names, then a line for each wavelength
 */
#include <orvex/color.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { max_patches = 64, max_points = 512 };

static char names[max_patches][32];
static float values[max_patches * max_points]; /* patch by patch */
static float spectra[max_patches * OXC_BANDS], cool_labs[max_patches * 3], warm_labs[max_patches * 3];
static float densities[max_patches * 4], differences[max_patches];

static void check(int32_t result)
{
    if (result == OX_NoError)
        return;
    fprintf(stderr, "%s (code %d)\n", oxc_error(), (int)result);
    exit(EXIT_FAILURE);
}

/* Reads a table of at most max_patches columns and max_points lines; the first column is the wavelength in nm.
 * Returns the number of patches. */
static size_t read_chart(FILE* file, size_t* points, double* first, double* step)
{
    static float columns[max_points][max_patches];
    static char line[8192];
    size_t patches = 0;
    double wavelength = 0;
    if (fgets(line, sizeof line, file) == NULL || strtok(line, ",\r\n") == NULL)
        return 0;
    for (char* name; patches < max_patches && (name = strtok(NULL, ",\r\n")) != NULL; ++patches)
        snprintf(names[patches], sizeof names[patches], "%s", name);

    for (*points = 0; *points < max_points && fgets(line, sizeof line, file) != NULL; ++*points) {
        char* rest = line;
        wavelength = strtod(rest, &rest);
        if (*points == 0)
            *first = wavelength;
        for (size_t patch = 0; patch < patches && *rest == ','; ++patch)
            columns[*points][patch] = strtof(rest + 1, &rest);
    }
    *step = *points > 1 ? (wavelength - *first) / (double)(*points - 1) : 0;
    for (size_t patch = 0; patch < patches; ++patch)
        for (size_t point = 0; point < *points; ++point)
            values[patch * *points + point] = columns[point][patch];
    return patches;
}

int main(int count, char** arguments)
{
    FILE* file = count == 2 ? fopen(arguments[1], "r") : NULL;
    if (file == NULL) {
        fprintf(stderr, "usage: convert FILE.csv\n");
        return EXIT_FAILURE;
    }
    size_t points = 0;
    double first = 0, step = 0;
    const size_t patches = read_chart(file, &points, &first, &step);
    fclose(file);

    /* Whatever the file's grid is, here it becomes 36 bands. */
    check(oxc_resample(values, points, first, step, patches, spectra));

    oxc_conditions* conditions = oxc_conditions_new();
    if (conditions == NULL)
        return EXIT_FAILURE;
    check(oxc_set(conditions, "Colorimetric.DensityStandard", "ANSIT"));
    check(oxc_densities(conditions, spectra, patches, densities));
    check(oxc_set(conditions, "Colorimetric.Illumination", "A"));
    check(oxc_colors(conditions, spectra, patches, warm_labs));
    check(oxc_set(conditions, "Colorimetric.Illumination", "D50"));
    check(oxc_colors(conditions, spectra, patches, cool_labs));
    check(oxc_set(conditions, "ColorSpaceDescription.DeltaEFormula", "2000"));
    check(oxc_differences(conditions, cool_labs, warm_labs, patches, 0, 0, 0, differences));

    printf("%-16s %23s %23s %6s  %s\n", "patch", "L* a* b* under D50", "under A", "dE2000", "densities K C M Y");
    for (size_t i = 0; i < patches; ++i) {
        const float *lab = cool_labs + 3 * i, *warm = warm_labs + 3 * i, *density = densities + 4 * i;
        printf("%-16s %7.2f %7.2f %7.2f %7.2f %7.2f %7.2f %6.2f  %.2f %.2f %.2f %.2f\n", names[i], lab[0], lab[1],
               lab[2], warm[0], warm[1], warm[2], differences[i], density[0], density[1], density[2], density[3]);
    }
    oxc_conditions_free(conditions);
    return EXIT_SUCCESS;
}
