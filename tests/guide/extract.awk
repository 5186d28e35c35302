# Writes the programs of a page to files: each fenced block of C or C++, and the text block after it as what
# the program must print. Prints the files' names. Needs -v work=FOLDER -v stem=NAME. Fails on a page without
# a program, and on a block that is not a program, because nothing would test that.
function finish_program() {
    if (code !~ /int main\(/)
        fail("a block of " language " without a main()")
    ++count
    file = work "/" stem "_" count "." language
    printf "%s", code > file
    close(file)
    expected = work "/" stem "_" count ".txt"
    printf "" > expected
    close(expected)
    print file
    waiting = 1
}
function fail(what) {
    print FILENAME ":" FNR ": " what > "/dev/stderr"
    failed = 1
    exit 1
}
/^```(c|cpp)$/ { language = substr($0, 4); code = ""; state = "code"; next }
/^```text$/ { text = ""; state = "text"; next }
/^```/ {
    if (state == "code")
        finish_program()
    if (state == "text" && waiting) {
        printf "%s", text > expected
        close(expected)
        waiting = 0
    }
    state = state == "" && $0 != "```" ? "other" : ""
    next
}
state == "code" { code = code $0 "\n" }
state == "text" { text = text $0 "\n" }
END {
    if (!failed && (count == 0 || state != ""))
        fail(count == 0 ? "no program on this page" : "a block that does not end")
}
