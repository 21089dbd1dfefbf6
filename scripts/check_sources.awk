# A part of scripts/check.sh: the rules that need the text of the files and what they include.
#
#   awk -f check_sources.awk layers.txt SOURCE_LIST OTHER_LIST FILES...
#
# The lists name the files, one a line; "others" are only checked for their size.

BEGIN { kMostLines = 1000 }

# ---- What is read ----

FNR == 1 { ++argument }

argument == 1 { readLayerLine($0); next }
argument == 2 { isSource[$0] = 1; sources[++sourceCount] = $0; next }
argument == 3 { next }

FNR == 1 { file = FILENAME }
FNR == kMostLines + 1 {
  report(file, FNR, "the file has more than " kMostLines " lines", "split it by idea")
}
!(file in isSource) { next }

FNR <= 3 && file ~ /\.h$/ { checkHead(FNR) }
/^[ \t]*\/\*\*/ { report(file, FNR, "a comment begins with /**", "use ///") }
/(^|[ \t])\/\/!/ { report(file, FNR, "a comment begins with //!", "use ///") }
/^[ \t]*#[ \t]*include[ \t]*["<]/ { readInclude($0) }

END {
  for (i = 1; i <= sourceCount; ++i) checkFile(sources[i])
  for (i = 1; i <= sourceCount; ++i)
    if (sources[i] ~ /\.h$/ && !(sources[i] in visited)) findCircles(sources[i])
}

function report(where, line, what, remedy) {
  print "check: " where ":" line ": " what "; " remedy
}

# ---- scripts/layers.txt ----

function readLayerLine(line,    words, count, i, colon) {
  sub(/#.*/, "", line)
  if (line ~ /^[ \t]*$/) return
  if (line ~ /^(only|internal) /) {
    colon = index(line, ":")
    split(substr(line, 1, colon - 1), words, " ")
    if (colon == 0 || words[2] == "") {
      report(FILENAME, FNR, "the line has no \"FOLDER:\"", "write it as the head of the file says")
      return
    }
    if (words[1] == "only") only[words[2]] = substr(line, colon + 1)
    else internals[words[2]] = substr(line, colon + 1)
    return
  }
  count = split(line, words, " ")
  ++rankCount
  for (i = 1; i <= count; ++i) {
    if (words[i] ~ /->/) {
      neighbours[words[i]] = 1
    } else if (words[i] in rank) {
      report(FILENAME, FNR, "the folder " words[i] " is listed twice", "remove one of the two")
    } else {
      rank[words[i]] = rankCount
    }
  }
}

# The listed folder that `folder` belongs to, itself or the nearest parent; "" if there is none.
function layerOf(folder) {
  if ((folder "/.") in rank) return folder "/."
  while (folder != "") {
    if (folder in rank) return folder
    folder = folderOf(folder)
  }
  return ""
}

# ---- Paths ----

function folderOf(path) { return sub(/\/[^\/]*$/, "", path) ? path : "" }

function isWithin(path, folder) { return path == folder || index(path, folder "/") == 1 }

function isWithinOneOf(path, folders,    list, count, i) {
  count = split(folders, list, " ")
  for (i = 1; i <= count; ++i)
    if (list[i] == "*" || isWithin(path, list[i])) return 1
  return 0
}

function isTestFile(path) {
  return path ~ /_test\.(cc|h)$/ || path ~ /_fixture\.[^\/]*$/ || path ~ /(^|\/)test_[^\/]*$/ ||
         path ~ /(^|\/)(testing|testdata)\// || path ~ /^(tests|fuzz|bench)\//
}

# ---- The text of one file ----

# Reports the first fault only, since the later lines of a header without #pragma once say little.
function checkHead(number) {
  if (file in hasBadHead) return
  if (number == 1 && $0 != "#pragma once")
    report(file, 1, "the header does not begin with #pragma once", "make it the first line")
  else if (number == 2 && $0 != "")
    report(file, 2, "#pragma once is not followed by an empty line", "insert one")
  else if (number == 3 && ($0 == "" || $0 ~ /^\/(\/\/|\*)/))
    report(file, 3, "the head is neither a file comment (//) nor code",
           "follow the empty line by the file comment or the includes")
  else return
  hasBadHead[file] = 1
}

function readInclude(line,    name) {
  name = line
  sub(/^[^"<]*["<]/, "", name)
  sub(/[">].*/, "", name)
  if (!(file in firstInclude)) {
    firstInclude[file] = name
    firstIncludeLine[file] = FNR
  }
  if (line !~ /include[ \t]*"/) return
  ++includeCount[file]
  includes[file, includeCount[file]] = name
  includeLine[file, includeCount[file]] = FNR
}

# ---- One file among the others ----

function checkFile(path,    i) {
  checkOwnHeader(path)
  if (layerOf(folderOf(path)) == "") {
    if (!(folderOf(path) in unlisted))
      report(path, 1, "the folder " folderOf(path) " is in no layer",
             "add it to scripts/layers.txt")
    unlisted[folderOf(path)] = 1
    return
  }
  for (i = 1; i <= includeCount[path]; ++i)
    checkInclude(path, includeLine[path, i], includes[path, i])
}

function checkOwnHeader(path,    own) {
  if (path !~ /\.cc$/) return
  own = path
  sub(/\.cc$/, ".h", own)
  if (!(own in isSource)) sub(/_test\.h$/, ".h", own)
  if (!(own in isSource) || firstInclude[path] == own ||
      folderOf(path) "/" firstInclude[path] == own) return
  report(path, (path in firstIncludeLine) ? firstIncludeLine[path] : 1,
         "its own header is not its first include", "include \"" own "\" before all others")
}

function checkInclude(path, line, name,    folder, beside) {
  folder = folderOf(path)
  if (!(name in isSource)) {
    beside = folder "/" name
    # An example is copied out of the tree, so its files name each other as they lie there.
    if (beside in isSource && !isTestFile(path) && path !~ /^examples\//)
      report(path, line, "\"" name "\" is not a path from the top of the tree",
             "include \"" beside "\"")
    return
  }
  checkInternal(path, line, name)
  if (isTestFile(path)) return
  if (isTestFile(name))
    report(path, line, "the product includes \"" name "\" of the tests",
           "move what it needs out of there")
  else if (checkOrder(path, line, name))
    checkOnly(path, line, name)
}

function checkInternal(path, line, name,    owner, by) {
  if (name !~ /\/internal\//) return
  owner = name
  sub(/\/internal\/.*/, "", owner)
  if (isWithin(path, owner)) return
  for (by in internals)
    if (isWithin(path, by) && isWithinOneOf(name, internals[by])) return
  report(path, line, "\"" name "\" is internal to " owner,
         "include a public header of " owner " instead")
}

function checkOrder(path, line, name,    from, to) {
  from = layerOf(folderOf(path))
  to = layerOf(folderOf(name))
  if (to == "" || from == to || rank[to] < rank[from] || (from "->" to) in neighbours) return 1
  report(path, line, from " includes \"" name "\", but " to " is no lower layer",
         "move the code to the layer it belongs to (scripts/layers.txt)")
  return 0
}

function checkOnly(path, line, name,    folder) {
  for (folder = folderOf(path); folder != "" && !(folder in only); folder = folderOf(folder)) {
  }
  if (folder == "" || isWithin(name, folder) || isWithinOneOf(name, only[folder])) return
  report(path, line, folder " does not use " folderOf(name),
         "do without \"" name "\" or allow the folder in scripts/layers.txt")
}

# ---- Circles ----

# Depth first; a header that is met while it is still open closes a circle.
function findCircles(path,    i, name) {
  visited[path] = 1
  isOpen[path] = 1
  trail[++depth] = path
  for (i = 1; i <= includeCount[path]; ++i) {
    name = includes[path, i]
    if (name in isOpen) report(path, includeLine[path, i], "the headers include each other: " \
                               circle(name), "declare forward or move what both need to a third")
    else if (name in isSource && !(name in visited)) findCircles(name)
  }
  delete isOpen[path]
  --depth
}

function circle(first,    i, text) {
  for (i = depth; i >= 1 && trail[i] != first; --i) {
  }
  for (; i <= depth; ++i) text = text trail[i] " -> "
  return text first
}
