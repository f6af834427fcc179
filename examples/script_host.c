/* A scripting host in C, with nothing but the public header and its own declarations of the services: what counts is
 * the layout of tables and records. Creates the control on the virtual bench, finds methods by name and calls them. */
#include <orvex-virtual.h>
#include <orvex/control.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef uint16_t wide;

typedef struct Value {
    uint16_t type;
    uint16_t reserved[3];
    union {
        int32_t number;
        wide* text;
        void* reference;
        void* pair[2];
    } as;
} Value;

typedef struct Arguments {
    Value* values; /* the last one first */
    int32_t* names;
    uint32_t count;
    uint32_t named;
} Arguments;

typedef struct ArrayOfOne {
    uint16_t dimensions, features;
    uint32_t element_size, locks;
    void* data;
    uint32_t elements;
    int32_t lower_bound;
} ArrayOfOne;

typedef struct Object {
    struct Table* table;
} Object;

typedef struct Table {
    int32_t (*query_interface)(Object*, const OX_ControlId*, void**);
    uint32_t (*add_reference)(Object*);
    uint32_t (*release)(Object*);
    union {
        struct {
            int32_t (*create_instance)(Object*, Object* outer, const OX_ControlId*, void**);
            int32_t (*lock_server)(Object*, int32_t);
        } factory;
        struct {
            int32_t (*type_info_count)(Object*, uint32_t*);
            int32_t (*type_info)(Object*, uint32_t, uint32_t, void**);
            int32_t (*ids_of_names)(Object*, const OX_ControlId*, wide**, uint32_t, uint32_t, int32_t*);
            int32_t (*invoke)(Object*, int32_t, const OX_ControlId*, uint32_t, uint16_t, Arguments*, Value*, void*,
                              uint32_t*);
        } dispatch;
    } more;
} Table;

enum { TYPE_LONG = 3, TYPE_TEXT = 8, TYPE_FLOATS_BY_REFERENCE = 0x6004, CALL = 1 };

static const OX_ControlId none;

static void expect(int truth, const char* what)
{
    if (truth)
        return;
    fprintf(stderr, "not so: %s\n", what);
    exit(EXIT_FAILURE);
}

static void widen(const char* text, wide* out)
{
    while ((*out++ = (wide)(unsigned char)*text++) != 0) { }
}

/* A text of the host: the length in bytes stands before it. */
static Value text_value(const char* text, uint32_t* block)
{
    Value value = {TYPE_TEXT, {0, 0, 0}, {0}};
    block[1] = (uint32_t)(2 * strlen(text));
    value.as.text = (wide*)(block + 2);
    widen(text, value.as.text);
    return value;
}

static Value call(Object* control, const char* method, Value* values, uint32_t count)
{
    wide name[40];
    wide* names[1] = {name};
    int32_t id = -1;
    Arguments arguments = {values, NULL, count, 0};
    Value result = {0, {0, 0, 0}, {0}};
    widen(method, name);
    expect(control->table->more.dispatch.ids_of_names(control, &none, names, 1, 0, &id) == 0, method);
    expect(control->table->more.dispatch.invoke(control, id, &none, 0, CALL, &arguments, &result, NULL, NULL) == 0,
           method);
    return result;
}

static Object* create_control(void)
{
    const OX_ControlId control_class = ORVEX_CONTROL_CLASS_ID;
    const OX_ControlId dispatch = ORVEX_CONTROL_DISPATCH_ID;
    const OX_ControlId class_factory = {1, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    void* factory = NULL;
    void* control = NULL;
    expect(DllGetClassObject(&control_class, &class_factory, &factory) == 0, "class object");
    expect(((Object*)factory)->table->more.factory.create_instance(factory, NULL, &dispatch, &control) == 0, "control");
    ((Object*)factory)->table->release(factory);
    return control;
}

int main(void)
{
    uint32_t block[40];
    float spectrum[36] = {0};
    ArrayOfOne array = {1, 0, sizeof(float), 0, spectrum, 36, 0};
    void* descriptor = &array;
    Value values[2] = {{TYPE_LONG, {0, 0, 0}, {0}}, {TYPE_FLOATS_BY_REFERENCE, {0, 0, 0}, {0}}};
    wide serial[7];
    Value answer;

    expect(oxv_attach("spectrophotometer", "usb") > 0, "an instrument");
    Object* const control = create_control();
    expect(DllCanUnloadNow() == 1, "in use");
    expect(call(control, "isconnected", NULL, 0).as.number == 0, "connected");
    expect(call(control, "Calibrate", NULL, 0).as.number == 0, "calibrated");
    expect(call(control, "TriggerMeasurement", NULL, 0).as.number == 0, "measured");

    values[1].as.reference = &descriptor;
    answer = call(control, "GetSpectrum", values, 2);
    expect(answer.type == TYPE_LONG && answer.as.number == 0, "a spectrum");
    expect(spectrum[0] > 0.78F && spectrum[0] < 0.82F && spectrum[35] > 0.91F && spectrum[35] < 0.95F,
           "the white tile's");
    array.elements = 35;
    expect(call(control, "GetSpectrum", values, 2).as.number == 10, "refused");

    values[0] = text_value("SerialNumber", block);
    answer = call(control, "GetOption", values, 1);
    widen("100001", serial);
    expect(answer.type == TYPE_TEXT && ((uint32_t*)(void*)answer.as.text)[-1] == 12, "six letters");
    expect(memcmp(answer.as.text, serial, sizeof serial) == 0, "the serial number and a zero");
    free((uint32_t*)(void*)answer.as.text - 2);

    expect(control->table->release(control) == 0, "released");
    expect(DllCanUnloadNow() == 0, "out of use");
    return EXIT_SUCCESS;
}
