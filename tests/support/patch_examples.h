// The examples of RFC 7396 (merge patch) and RFC 6902 (patch), for every function that applies a patch.
#pragma once

struct PatchExample {
    const char* target;
    const char* patch;
    const char* result;  // members in the order of the document; NULL if the patch must fail
};

// Appendix A of RFC 7396.
constexpr PatchExample kMergeExamples[] = {
    {R"({"a":"b"})", R"({"a":"c"})", R"({"a":"c"})"},
    {R"({"a":"b"})", R"({"b":"c"})", R"({"a":"b","b":"c"})"},
    {R"({"a":"b"})", R"({"a":null})", "{}"},
    {R"({"a":"b","b":"c"})", R"({"a":null})", R"({"b":"c"})"},
    {R"({"a":["b"]})", R"({"a":"c"})", R"({"a":"c"})"},
    {R"({"a":"c"})", R"({"a":["b"]})", R"({"a":["b"]})"},
    {R"({"a":{"b":"c"}})", R"({"a":{"b":"d","c":null}})", R"({"a":{"b":"d"}})"},
    {R"({"a":[{"b":"c"}]})", R"({"a":[1]})", R"({"a":[1]})"},
    {R"(["a","b"])", R"(["c","d"])", R"(["c","d"])"},
    {R"({"a":"b"})", R"(["c"])", R"(["c"])"},
    {R"({"a":"foo"})", R"(null)", R"(null)"},
    {R"({"a":"foo"})", R"("bar")", R"("bar")"},
    {R"({"e":null})", R"({"a":1})", R"({"e":null,"a":1})"},
    {"[1,2]", R"({"a":"b","c":null})", R"({"a":"b"})"},
    {"{}", R"({"a":{"bb":{"ccc":null}}})", R"({"a":{"bb":{}}})"},
};

// Appendix A of RFC 6902.
constexpr PatchExample kPatchExamples[] = {
    {R"({"foo":"bar"})", R"([{"op":"add","path":"/baz","value":"qux"}])",
     R"({"foo":"bar","baz":"qux"})"},
    {R"({"foo":["bar","baz"]})", R"([{"op":"add","path":"/foo/1","value":"qux"}])",
     R"({"foo":["bar","qux","baz"]})"},
    {R"({"baz":"qux","foo":"bar"})", R"([{"op":"remove","path":"/baz"}])", R"({"foo":"bar"})"},
    {R"({"foo":["bar","qux","baz"]})", R"([{"op":"remove","path":"/foo/1"}])",
     R"({"foo":["bar","baz"]})"},
    {R"({"baz":"qux","foo":"bar"})", R"([{"op":"replace","path":"/baz","value":"boo"}])",
     R"({"baz":"boo","foo":"bar"})"},
    {R"({"foo":{"bar":"baz","waldo":"fred"},"qux":{"corge":"grault"}})",
     R"([{"op":"move","from":"/foo/waldo","path":"/qux/thud"}])",
     R"({"foo":{"bar":"baz"},"qux":{"corge":"grault","thud":"fred"}})"},
    {R"({"foo":["all","grass","cows","eat"]})",
     R"([{"op":"move","from":"/foo/1","path":"/foo/3"}])",
     R"({"foo":["all","cows","eat","grass"]})"},
    {R"({"baz":"qux","foo":["a",2,"c"]})",
     R"([{"op":"test","path":"/baz","value":"qux"},{"op":"test","path":"/foo/1","value":2}])",
     R"({"baz":"qux","foo":["a",2,"c"]})"},
    {R"({"baz":"qux"})", R"([{"op":"test","path":"/baz","value":"bar"}])", nullptr},
    {R"({"foo":"bar"})", R"([{"op":"add","path":"/child","value":{"grandchild":{}}}])",
     R"({"foo":"bar","child":{"grandchild":{}}})"},
    {R"({"foo":"bar"})", R"([{"op":"add","path":"/baz","value":"qux","xyz":123}])",
     R"({"foo":"bar","baz":"qux"})"},
    {R"({"foo":"bar"})", R"([{"op":"add","path":"/baz/bat","value":"qux"}])", nullptr},
    {R"({"/":9,"~1":10})", R"([{"op":"test","path":"/~01","value":10}])", R"({"/":9,"~1":10})"},
    {R"({"/":9,"~1":10})", R"([{"op":"test","path":"/~01","value":"10"}])", nullptr},
    {R"({"foo":["bar"]})", R"([{"op":"add","path":"/foo/-","value":["abc","def"]}])",
     R"({"foo":["bar",["abc","def"]]})"},
};
