# Gives Doxygen the comments of a header as they are written here: the first is about the file; the
# others hold for what follows up to the next blank line; one behind a declaration is about it. A member
# without any is left to the comment of its class, a macro to that of its file. So what must have one of
# its own is what stands in a namespace: functions, types and constants.

# about(TEXT): TEXT holds for what is declared next.
function about(text) {
  gsub(/\n/, "\n" indent "/// ", text)
  print indent "/// " text
}

/^ *\/\/ clang-format/ { next }

/^ *\/\// {
  text = $0
  sub(/^ *\/\/ ?/, "", text)
  if (NR == 1) print "/// @file"
  if (!seen_code) print "/// " text
  comment = previous == "//" ? comment "\n" text : text
  previous = "//"
  next
}

/^ *$/ || !seen_code {
  seen_code = seen_code || !/^ *$/
  comment = previous = ""
  print
  next
}

{
  code = $0
  trails = sub(/ *\/\/ .*$/, "", code) && code ~ /[;,]$/
  begins = previous ~ /^(\/\/)?$|[;{}:]$/ && /^(  )?[A-Za-z_~\[]|^#define/
  indent = /^ / ? "  " : ""
  if (/^(namespace|extern "C" \{|static_assert|  static_assert)/) begins = 0
  if (begins && comment != "") about(comment)
  else if (begins && !trails && in_type && indent != "") about("See the class.")
  else if (/^#define/) about("See the file.")
  if (/^(class|struct|enum|union) .*\{$/) { in_type = 1; outer = comment; comment = "" }
  if (/^ (public|protected|private):/) comment = ""
  if (in_type && /^}/) { in_type = 0; comment = outer; outer = "" }
  if (trails) sub(/\/\/ /, "///< ")
  if (!/^#/ || /^#define/) previous = code
  print
}
