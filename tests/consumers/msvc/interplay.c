/* What is passed between a program built with Microsoft's compiler and the DLL: blocks, streams, records by value,
   addresses of functions and of data. Compiled as C and as C++. */
#include <ke_utils.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "check.h"

static void blocks(void) {
    char* text = NULL;
    char* block = (char*)malloc(4);
    u64 size = 4;
    CHECK(wiq_asprintf(&text, "%s is %d", "temperature", 41) == 17);
    CHECK(text != NULL && strcmp(text, "temperature is 41") == 0);
    free(text);
    /* The DLL grows a block that the program has allocated. */
    CHECK(wiq_rasprintf(&block, &size, "%s", "longer than four characters") == 27);
    CHECK(size >= 28 && strcmp(block, "longer than four characters") == 0);
    block = (char*)realloc(block, 1000);
    free(block);
}

static void streams(const char* path) {
    static const char kDocument[] = "{\"drive\": [38, 41]}\n";
    u32 err = 0;
    char buf[64];
    char* line = NULL;
    size_t room = 0;
    FILE* fp = wiq_fopen(path, "wb", &err);
    /* The program uses a stream that the DLL has opened ... */
    CHECK(fp != NULL && err == 0);
    if (fp == NULL)
        return;
    CHECK(fwrite(kDocument, 1, strlen(kDocument), fp) == strlen(kDocument));
    CHECK(fclose(fp) == 0);
    /* ... and the DLL one that the program has opened. */
    fp = fopen(path, "rb");
    CHECK(fp != NULL);
    if (fp == NULL)
        return;
    CHECK(wiq_getline(&line, &room, fp) == (i32)strlen(kDocument));
    CHECK(line != NULL && strcmp(line, kDocument) == 0);
    CHECK(fclose(fp) == 0);
    free(line);
    {
        wiq_json_load_error error;
        wiq_json_t* root = wiq_json_loads(kDocument, 0, &error);
        CHECK(root != NULL);
        fp = fopen(path, "wb");
        CHECK(wiq_json_fdump(root, fp, 0, 0) == 17);
        CHECK(fclose(fp) == 0);
        wiq_json_unref(root);
    }
    fp = wiq_fopen(path, "rb", NULL);
    CHECK(fread(buf, 1, sizeof buf, fp) == 17);
    CHECK(memcmp(buf, "{\"drive\":[38,41]}", 17) == 0);
    CHECK(fclose(fp) == 0);
    CHECK(remove(path) == 0);
}

static void wide_numbers(void) {
    wiq_uint128 a;
    wiq_uint128 product;
    wiq_uint128 read;
    wiq_json_t* node;
    char text[64];
    a.lo = 0;
    a.hi = 1;
    product = wiq_uint128_mul(wiq_uint128_add(a, a), wiq_uint128_rshift(a, 63));
    CHECK(product.lo == 0 && product.hi == 4);
    CHECK(wiq_uint128_lt(a, product) && !wiq_uint128_lt(product, a));
    CHECK(wiq_uint128_to_str(product, 16, text, sizeof text) == 18);
    CHECK(strcmp(text, "40000000000000000") == 0);
    node = wiq_json_u128_new(&product, NULL);
    CHECK(wiq_json_u128_get(&read, node) == &read);
    CHECK(read.lo == product.lo && read.hi == product.hi);
    wiq_json_unref(node);
    CHECK(wiq_uint24_init(0x123456).bytes[0] == 0x56);
}

static int times_called;
static size_t size_seen;

static void before_malloc(size_t* size) {
    ++times_called;
    size_seen = *size;
}

static void before_free(void** block) {
    ++times_called;
    CHECK(*block != NULL);
}

static i64 a_time(i64* t) {
    if (t != NULL)
        *t = 86400;
    return 86400;
}

/* The slots are data of the DLL; the program sets and reads them through their imported addresses. */
static void slots(void) {
    i64 (*real)(i64*) = wiq_time_real_ptr;
    struct tm day;
    i64 now = 0;
    unsigned char* block;
    CHECK(wiq_malloc_pre_cb == NULL && wiq_free_cb == NULL);
    wiq_malloc_pre_cb = before_malloc;
    wiq_free_cb = before_free;
    block = (unsigned char*)wiq_wrap_malloc(24, true, NULL, wiq_malloc_pre_cb, wiq_malloc_post_cb);
    CHECK(block != NULL && block[0] == 0 && block[23] == 0);
    CHECK(times_called == 1 && size_seen == 24);
    wiq_wrap_free(block, wiq_free_cb);
    CHECK(times_called == 2);
    wiq_malloc_pre_cb = NULL;
    wiq_free_cb = NULL;

    CHECK(real == wiq_time_real_ptr && real(NULL) > 1000000000);
    wiq_time_real_ptr = a_time;
    CHECK(wiq_time_real_ptr(&now) == 86400 && now == 86400);
    wiq_time_real_ptr = real;
    CHECK(wiq_gmtime_real_ptr(&now, &day) == 0);
    CHECK(day.tm_year == 70 && day.tm_mon == 0 && day.tm_mday == 2);
}

typedef struct Sensor {
    WiqObject object;
    int reading;
} Sensor;

static int sensors;

static i32 init_sensor(WiqObject* object) {
    ((Sensor*)object)->reading = 41;
    ++sensors;
    return 0;
}

static void finalize_sensor(WiqObject* object) {
    CHECK(((Sensor*)object)->reading == 41);
    --sensors;
}

static WiqType sensor_type;

/* An imported address is not a constant, so the parent is set when the type is made, not in its initialiser. */
static void types(void) {
    WiqObject* object;
    sensor_type.name = "Sensor";
    sensor_type.instance_size = sizeof(Sensor);
    sensor_type.instance_init = init_sensor;
    sensor_type.instance_finalize = finalize_sensor;
    CHECK(type_init(&sensor_type, &ObjectType) == 0);
    CHECK(sensor_type.parent == &ObjectType && type_is_child(&ObjectType, &sensor_type));
    object = object_new(&sensor_type);
    CHECK(object != NULL && sensors == 1);
    CHECK(object_check(object, &sensor_type) == object &&
          object_check(object, &ObjectType) == object);
    CHECK(object_check(object, &WiqJsonVisitorType) == NULL);
    object_unref(object);
    CHECK(sensors == 0);
}

int main(void) {
    blocks();
    streams("interplay.tmp");
    wide_numbers();
    slots();
    types();
    return check_failures("interplay");
}
