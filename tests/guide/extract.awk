# Writes the programs of a page to files: each fenced block of C or C++ that has a main(), and the text block
# behind it as what the program must print. Prints the files' names. Needs -v work=FOLDER -v stem=NAME.
function finish_program() {
    if (code ~ /int main\(/) {
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
