// A script of operations on instances of a small tree of types, compared with a model: which initialisers and
// finalisers run, in which order, and which casts succeed.
#include "script.h"

namespace {

// Six types: 0 is the parent of 1 and 2, 1 of 3, 3 of 4; 5 is separate. Type 4 has its own fields.
constexpr int kTypes = 6;
constexpr int kParents[kTypes] = {-1, 0, 0, 1, 3, -1};

struct Instance {
    WiqObject object;
    int inits;
};

std::string g_log;
bool g_fail;

template <int N>
i32 instance_init(WiqObject* object) {
    g_log += static_cast<char>('0' + N);
    ++reinterpret_cast<Instance*>(object)->inits;
    return g_fail && N == 3 ? -7 : 0;
}
template <int N>
void instance_finalize(WiqObject* object) {
    g_log += static_cast<char>('a' + N);
    CHECK(reinterpret_cast<Instance*>(object)->inits > 0);
}

struct Class {
    WiqClass base;
    int last;   // the type whose initialiser ran last
    int bases;  // how many ancestors have changed the record
};
template <int N>
i32 class_init(WiqClass* klass) {
    reinterpret_cast<Class*>(klass)->last = N;
    return 0;
}
i32 class_base_init(WiqClass* klass) {
    ++reinterpret_cast<Class*>(klass)->bases;
    return 0;
}

template <int N>
WiqType make_type() {
    static const char* const kNames[kTypes] = {"Zero", "One", "Two", "Three", "Four", "Five"};
    WiqType type = {};
    type.name = kNames[N];
    type.instance_size = N == 0 || N == 5 ? sizeof(Instance) : N == 4 ? sizeof(Instance) + 64 : 0;
    type.instance_init = instance_init<N>;
    type.instance_finalize = instance_finalize<N>;
    type.class_size = N == 0 || N == 5 ? sizeof(Class) : 0;
    type.class_init = class_init<N>;
    type.class_base_init = class_base_init;
    return type;
}
WiqType g_types[kTypes] = {make_type<0>(), make_type<1>(), make_type<2>(),
                           make_type<3>(), make_type<4>(), make_type<5>()};

bool derives(int child, int parent) {
    for (int at = kParents[child]; at >= 0; at = kParents[at]) {
        if (at == parent)
            return true;
    }
    return false;
}
int depth_of(int type) {
    return kParents[type] < 0 ? 0 : 1 + depth_of(kParents[type]);
}

// The root's initialiser runs first; finalisers run in the opposite order.
std::string inits_of(int type) {
    return (kParents[type] < 0 ? "" : inits_of(kParents[type])) + static_cast<char>('0' + type);
}
std::string finals_of(int type) {
    return static_cast<char>('a' + type) + (kParents[type] < 0 ? "" : finals_of(kParents[type]));
}

void prepare() {
    static bool done = false;
    if (done)
        return;
    done = true;
    for (int i = 0; i < kTypes; ++i) {
        CHECK(object_new(&g_types[i]) == nullptr);  // not registered yet
        WiqType* parent = kParents[i] < 0 ? &ObjectType : &g_types[kParents[i]];
        CHECK(type_init(&g_types[i], parent) == 0);
        CHECK(type_init(&g_types[i], nullptr) == 0);
    }
    u32 count = 0;
    WiqType** types = type_list(&count);
    CHECK(count == 6 + kTypes);
    CHECK(types[6] == &g_types[0] && types[count - 1] == &g_types[5]);
}

struct Held {
    WiqObject* object = nullptr;
    int type = 0;
    i32 count = 0;
};

void check(const Held& held, int other) {
    WiqObject* object = held.object;
    WiqType* type = &g_types[other];
    if (object == nullptr) {
        CHECK(object_check(nullptr, type) == nullptr && object_get_class(nullptr) == nullptr);
        return;
    }
    const bool is = held.type == other || derives(held.type, other);
    auto* klass = reinterpret_cast<Class*>(object_get_class(object));
    CHECK(object->refcount == held.count);
    CHECK(object_check(object, type) == (is ? object : nullptr));
    CHECK(class_check(&klass->base, type) == (is ? &klass->base : nullptr));
    CHECK(object_get_super_class(object, type) == (is ? type->klass : nullptr));
    CHECK(class_get_super_class(&klass->base, type) == (is ? type->klass : nullptr));
    CHECK(type_is_child(type, &g_types[held.type]) == derives(held.type, other));
    CHECK(type_is_child(&ObjectType, type));
    CHECK(klass->last == held.type);
    // The record begins as a copy of the parent's, which the ancestors have changed, too.
    CHECK(klass->bases == depth_of(held.type) * (depth_of(held.type) + 1) / 2);
    CHECK(reinterpret_cast<Instance*>(object)->inits == depth_of(held.type) + 1);
}

void drop(Held& held, bool all) {
    g_log.clear();
    const bool last = held.object != nullptr && (all || held.count == 1);
    if (all && held.object != nullptr)
        object_delete(held.object);
    else
        object_unref(held.object);
    CHECK(g_log == (last ? finals_of(held.type) : ""));
    --held.count;
    if (last)
        held = {};
}

void make(Held& held, int type, bool fail) {
    drop(held, true);
    g_log.clear();
    g_fail = fail;
    WiqObject* object = object_new(&g_types[type]);
    const bool fails = fail && (type == 3 || type == 4);
    CHECK((object == nullptr) == fails);
    CHECK(g_log == (fails ? "013" : inits_of(type)));
    if (object != nullptr)
        held = {object, type, 1};
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    prepare();
    Held objects[4];
    for (const Op& op : script_of(data, size)) {
        Held& held = objects[op.a % 4];
        switch (op.code % 5) {
            case 0:
                make(held, op.b % kTypes, op.c % 4 == 3);
                break;
            case 1:
                if (held.object != nullptr) {
                    object_ref(held.object);
                    ++held.count;
                }
                break;
            case 2:
            case 3:
                drop(held, false);
                break;
            default:
                drop(held, true);
        }
        if (held.object == nullptr)
            held = {};
        check(held, op.d % kTypes);
    }
    for (Held& held : objects)
        drop(held, true);
    return 0;
}
