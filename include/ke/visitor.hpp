/**
 * @file visitor.hpp
 * Wraps the class system of the C interface: ke::object owns one of its objects, and
 * ke::json_visitor walks a document with functions that a derived class overrides.
 */
#ifndef KE_VISITOR_HPP
#define KE_VISITOR_HPP

#include "ke/callback.hpp"
#include "ke/json.hpp"
#include "ke_utils/object.h"

namespace ke {

/** @addtogroup cpp
 *  @{ */

/** Owns an object of the C interface, alone or together with others; a copy is another owner. The
 *  first member of `T` must be a WiqObject, or a struct that begins with one. */
template <class T = WiqObject>
class object {
  public:
    /** Makes an empty owner. */
    object() noexcept = default;
    /** Makes an object of a type. Returns WIQ_ERR_FAILED (-7) if object_new() returns NULL. */
    static result<object> make(WiqType& type) noexcept {
        WiqObject* const made = object_new(&type);
        return made != nullptr ? result<object>(object(made))
                               : result<object>::failure(WIQ_ERR_FAILED);
    }
    /** Returns an owner of an object, which takes a reference of its own. */
    static object share(T* lent) noexcept {
        if (lent != nullptr)
            object_ref(header(lent));
        return object(header(lent));
    }
    /** @name A copy shares the object; a move leaves the other owner empty
     *  @{ */
    /** Copies share the object; moves leave the other owner empty. */
    object(const object& other) noexcept : object_(other.object_) {
        if (object_ != nullptr)
            object_ref(object_);
    }
    object(object&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    object& operator=(object other) & noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    /** @} */
    ~object() { object_unref(object_); }

    /** Tells whether there is an object. */
    explicit operator bool() const noexcept { return object_ != nullptr; }
    /** Returns the object, still owned by this handle. */
    T* get() const noexcept { return reinterpret_cast<T*>(object_); }
    /** Gives access to the object's fields. */
    T* operator->() const noexcept { return get(); }
    /** Tells whether the object's type is the given one or is derived from it. */
    bool is_a(const WiqType& type) const noexcept {
        return object_check(object_, &type) != nullptr;
    }

  private:
    explicit object(WiqObject* owned) noexcept : object_(owned) {}
    static WiqObject* header(T* from) noexcept { return reinterpret_cast<WiqObject*>(from); }

    WiqObject* object_ = nullptr;
};

/** Registers a type when the program starts:
 *  `static ke::type_registration reg(my_type, ObjectType);` */
class type_registration {
  public:
    /** Registers the type. */
    type_registration(WiqType& type, WiqType& parent) noexcept
        : status_(type_init(&type, &parent)) {}
    /** Returns how the registration ended. It is kept here, since there is nobody to return it to
     *  when the program starts. */
    ke::status status() const noexcept { return status_; }

  private:
    i32 status_;
};

class json_visitor;

namespace detail {

// An instance of the C class that passes each call on to a json_visitor.
struct visitor_bridge {
    WiqJsonVisitor base;
    json_visitor* self;
};

i32 fill_visitor_class(WiqClass* klass) noexcept;

inline WiqType visitor_type = {"ke::json_visitor",
                               nullptr,
                               sizeof(visitor_bridge),
                               nullptr,
                               nullptr,
                               sizeof(WiqJsonVisitorClass),
                               [](WiqClass* klass) { return fill_visitor_class(klass); },
                               nullptr,
                               nullptr,
                               0,
                               {}};
inline const type_registration visitor_registration(visitor_type, WiqJsonVisitorType);

}  // namespace detail

/**
 * Walks a document. Derive a class from it, override the functions for the values that matter, and
 * call visit().
 *
 * A function that is not overridden does what the C visitor does. An override for a container,
 * member or element must call the function of this base class to walk the values below, which are
 * skipped otherwise. A failure that an override returns ends the walk, and visit() returns it.
 * Overrides may throw, and may call visit() for another value.
 *
 * The walk is recursive, with one level of calls for each level of the document, so a deep document
 * can exhaust the stack. For documents from untrusted sources, use the ranges of ke::json_view.
 *
 * The underlying C class is registered when the program or module that includes this header starts,
 * and stays registered, so such a module must not be unloaded.
 */
class json_visitor {
  public:
    json_visitor() = default;
    json_visitor(const json_visitor&) = delete;
    json_visitor& operator=(const json_visitor&) = delete;
    virtual ~json_visitor() = default;

    /** Walks a value. Returns 0; ke::err_empty for an empty view; WIQ_ERR_FAILED if the
     *  visitor cannot be made; WIQ_ERR_NO_MEMORY (-5000) when out of memory to list the keys of an
     *  object; or the failure that ended the walk. */
    ke::status visit(json_view value) {
        if (!value)
            return err_empty;
        auto made = object<detail::visitor_bridge>::make(detail::visitor_type);
        if (!made)
            return made.status();
        (*made)->self = this;
        WiqJsonVisitor* const outer = std::exchange(bridge_, &(*made)->base);
        const i32 status = klass()->visit(bridge_, value.node());
        bridge_ = outer;
        keeper_.rethrow();
        return status < 0 ? ke::status(status) : ke::status(status == 0 ? 0 : WIQ_ERR_FAILED);
    }

  protected:
    /** @name Functions to override
     *  @{ */
    /** Called when the walk meets such a value, member or element. */
    virtual ke::status on_object(json_view value) {
        return base()->visit_object(bridge_, value.node());
    }
    virtual ke::status on_array(json_view value) {
        return base()->visit_array(bridge_, value.node());
    }
    virtual ke::status on_member(json_view parent, std::string_view key, json_view value,
                                 bool first) {
        return base()->object_member(bridge_, parent.node(), key.data(), value.node(), first);
    }
    virtual ke::status on_element(json_view array, i32 index, json_view value) {
        return base()->array_element(bridge_, array.node(), index, value.node());
    }
    virtual ke::status on_string(json_view, std::string_view) { return {}; }
    virtual ke::status on_integer(json_view, i64) { return {}; }
    virtual ke::status on_unsigned(json_view, u64) { return {}; }
    virtual ke::status on_uint128(json_view, uint128) { return {}; }
    virtual ke::status on_real(json_view, double) { return {}; }
    virtual ke::status on_reference(json_view, std::string_view) { return {}; }
    virtual ke::status on_bool(json_view, bool) { return {}; }
    virtual ke::status on_null(json_view) { return {}; }
    /** @} */

  private:
    friend i32 detail::fill_visitor_class(WiqClass* klass) noexcept;

    const WiqJsonVisitorClass* klass() const noexcept {
        return reinterpret_cast<const WiqJsonVisitorClass*>(object_get_class(&bridge_->object));
    }
    const WiqJsonVisitorClass* base() const noexcept {
        return reinterpret_cast<const WiqJsonVisitorClass*>(
            object_get_super_class(&bridge_->object, &WiqJsonVisitorType));
    }
    template <class Call>
    static i32 pass(WiqJsonVisitor* visitor, Call call) noexcept {
        json_visitor* const self = reinterpret_cast<detail::visitor_bridge*>(visitor)->self;
        return self->keeper_.run(static_cast<i32>(WIQ_ERR_FAILED),
                                 [&]() -> i32 { return call(*self).code(); });
    }

    WiqJsonVisitor* bridge_ = nullptr;
    i32 unlisted_ = 0;  // status if the current object's keys could not be listed
    detail::exception_keeper keeper_;
};

namespace detail {

inline i32 fill_visitor_class(WiqClass* klass) noexcept {
    auto* const slots = reinterpret_cast<WiqJsonVisitorClass*>(klass);
    using self = json_visitor&;
    slots->visit_object = [](WiqJsonVisitor* v, wiq_json_t* n) {
        return json_visitor::pass(v, [n](self s) { return s.on_object(json_view(n)); });
    };
    // If the C visitor cannot list an object's keys, it walks the object as if it had none. Here
    // that is a failure, which object_begin() returns.
    slots->object_keys = [](WiqJsonVisitor* v, wiq_json_t* n, wiq_strv* keys) {
        json_visitor& s = *reinterpret_cast<visitor_bridge*>(v)->self;
        const i32 count = s.base()->object_keys(v, n, keys);
        s.unlisted_ = count < 0 ? count : 0;
        return count;
    };
    slots->object_begin = [](WiqJsonVisitor* v, wiq_json_t*) {
        return std::exchange(reinterpret_cast<visitor_bridge*>(v)->self->unlisted_, 0);
    };
    slots->visit_array = [](WiqJsonVisitor* v, wiq_json_t* n) {
        return json_visitor::pass(v, [n](self s) { return s.on_array(json_view(n)); });
    };
    slots->object_member = [](WiqJsonVisitor* v, wiq_json_t* o, const char* k, wiq_json_t* n,
                              bool first) {
        return json_visitor::pass(
            v, [=](self s) { return s.on_member(json_view(o), k, json_view(n), first); });
    };
    slots->array_element = [](WiqJsonVisitor* v, wiq_json_t* a, i32 index, wiq_json_t* n) {
        return json_visitor::pass(
            v, [=](self s) { return s.on_element(json_view(a), index, json_view(n)); });
    };
    slots->visit_string = [](WiqJsonVisitor* v, wiq_json_t* n, const char* text) {
        return json_visitor::pass(v, [=](self s) { return s.on_string(json_view(n), text); });
    };
    slots->visit_i64 = [](WiqJsonVisitor* v, wiq_json_t* n, i64 value) {
        return json_visitor::pass(v, [=](self s) { return s.on_integer(json_view(n), value); });
    };
    slots->visit_u64 = [](WiqJsonVisitor* v, wiq_json_t* n, u64 value) {
        return json_visitor::pass(v, [=](self s) { return s.on_unsigned(json_view(n), value); });
    };
    slots->visit_u128 = [](WiqJsonVisitor* v, wiq_json_t* n, const wiq_uint128* value) {
        return json_visitor::pass(v, [=](self s) { return s.on_uint128(json_view(n), *value); });
    };
    slots->visit_double = [](WiqJsonVisitor* v, wiq_json_t* n, double value) {
        return json_visitor::pass(v, [=](self s) { return s.on_real(json_view(n), value); });
    };
    slots->visit_ref = [](WiqJsonVisitor* v, wiq_json_t* n, const char* uri) {
        return json_visitor::pass(v, [=](self s) { return s.on_reference(json_view(n), uri); });
    };
    slots->visit_bool = [](WiqJsonVisitor* v, wiq_json_t* n, bool value) {
        return json_visitor::pass(v, [=](self s) { return s.on_bool(json_view(n), value); });
    };
    slots->visit_null = [](WiqJsonVisitor* v, wiq_json_t* n) {
        return json_visitor::pass(v, [=](self s) { return s.on_null(json_view(n)); });
    };
    return 0;
}

}  // namespace detail

/** @} */

}  // namespace ke

#endif
