# Turns the ```cpp fences of a document into sources, for snippets_test.sh.
#
#   awk -v place=FOLDER -v document=PATH -f snippets.awk DOCUMENT
#
# A fence with its own main becomes a source of its own. All others go into one source, by chapter
# ("## ..."): classes, functions and members into a namespace, statements into one function. A
# fence sees the names of the earlier fences of its chapter, and those of snippets.h.

BEGIN {
  guide = place "/snippets.cc"
  print "#include \"snippets.h\"" >guide
}

/^## / { endChapter() }
/^```cpp[ \t]*$/ { inFence = 1; start = NR + 1; text = ""; next }
/^```/ && inFence { inFence = 0; keep(); next }
inFence { text = text $0 "\n" }

END { endChapter() }

function located(source) { return "#line " start " \"" document "\"\n" source }

function keep(    first) {
  ++count
  first = text
  sub(/\n.*/, "", first)
  if (text ~ /int main\(/) {
    programs = place "/program_" ++programCount ".cc"
    printf "%s", located(text) >programs
    close(programs)
  } else if (first ~ /\) override \{$/) {
    declarations = declarations "struct Member" count " : Members {\n" located(text) "};\n"
  } else if (first ~ /^(class|struct|template|using|namespace|static|#include) / || isFunction(first)) {
    declarations = declarations located(text)
  } else {
    statements = statements "{\n" located(text)
    ++depth
  }
}

# The head of a function: a type, a name, parameters and the opening brace, but no if, for or try.
function isFunction(line) {
  return line ~ /^[A-Za-z_][A-Za-z0-9_:<>*& ]* \*?[A-Za-z_][A-Za-z0-9_]*\(.*\) \{$/ &&
         line !~ /^(if|for|while|switch|else|try|return) ?/
}

function endChapter() {
  if (declarations statements == "") return
  printf "namespace chapter%d {\nusing namespace snippets;\n%s", ++chapters, declarations >guide
  if (statements != "") {
    printf "inline long statements() {\n%s", statements >guide
    for (; depth > 0; --depth) print "}" >guide
    print "return 0;\n}" >guide
  }
  print "}" >guide
  declarations = statements = ""
}
