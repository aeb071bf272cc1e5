# Turns the tables of the interface into a C++ source that compiles if the headers agree with them:
#
#   awk -f assertions.awk pending.txt functions.tsv members.tsv records.tsv constants.tsv
#
# Functions are declared again, members are named through a pointer of their exact type, fields and
# constants are compared. Rows that pending.txt names are left out.

BEGIN {
    FS = "\t"
    print "#include <cstddef>\n#include <mutex>\n#include <type_traits>\n"
    print "#include \"MDicom.h\"\n#include \"MDicomFlat.h\"\n#include \"Mvkrnx.h\"\n"
}

FILENAME ~ /pending\.txt$/ {
    if ($0 !~ /^#/) {
        split($0, words, " ")
        pending[words[1], words[2]] = 1
    }
    next
}

FNR == 1 { next }

FILENAME ~ /functions\.tsv$/ {
    if (("family", $1) in pending || ("function", $2) in pending)
        later[$2] = 1
    else
        print "extern \"C\" " $3 ";"
}

FILENAME ~ /members\.tsv$/ {
    if (("class", $1) in pending || ("member", $2) in pending || $4 in later) next
    member = $1 "::" $2
    holder = $1 "::"
    prototype = $3
    if (sub(/^static /, "", prototype)) holder = ""
    place = match(prototype, "[ *]" $2 "(\\(|$)")
    type = substr(prototype, 1, place)
    arguments = substr(prototype, place + 1 + length($2))
    if (arguments == "")
        print "static_assert(std::is_same_v<decltype(" member "), " type ">, \"" member "\");"
    else
        print "[[maybe_unused]] constexpr auto member" FNR " = static_cast<" type "(" holder "*)" \
            arguments ">(&" member ");"
}

FILENAME ~ /records\.tsv$/ {
    if (("record", $1) in pending) next
    # Offsets behind wide text are those where it has 16 bits.
    if ($2 == "*") guard = $3 == "wide" ? "sizeof(wchar_t) != 2 || " : ""
    if ($2 == "*" && $4 != "")
        print "static_assert(" guard "sizeof(" $1 ") == " $4 ", \"" $1 "\");"
    if ($2 == "*") next
    field = $1 "::" $2
    print "static_assert(std::is_same_v<decltype(" field "), " $3 ">, \"" field "\");"
    if ($4 != "")
        print "static_assert(" guard "offsetof(" $1 ", " $2 ") == " $4 ", \"" field "\");"
}

FILENAME ~ /constants\.tsv$/ {
    if (("group", $1) in pending || ("constant", $2) in pending) next
    print "static_assert(" $2 " == " $3 ", \"" $2 "\");"
}
