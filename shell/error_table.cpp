#include "shell/error_table.h"

#include <array>
#include <cerrno>
#include <string_view>

namespace {

// Generated from the language's list, never typed: the texts keep the language's
// repetitions, spellings and inner quotes exactly (27, 91, 265 ...). One
// entry a line, so that a text can be found by grep.
// clang-format off
static constexpr std::wstring_view kErrorTexts[kErrorCount] = {
    /*   0 */ L"",
    /*   1 */ L"general memory allocation error",
    /*   2 */ L"too few arguments",
    /*   3 */ L"too many arguments",
    /*   4 */ L"invalid argument",
    /*   5 */ L"invalid option",
    /*   6 */ L"missing option",
    /*   7 */ L"command error - not/partially executed",
    /*   8 */ L"unknown macro",
    /*   9 */ L"system call failed",
    /*  10 */ L"unknown label",
    /*  11 */ L"syntax error in expression",
    /*  12 */ L"syntax error in condition",
    /*  13 */ L"environment not found or locked",
    /*  14 */ L"shell is already processing a command",
    /*  15 */ L"shell cancelled (exit 0)",
    /*  16 */ L"empty expression",
    /*  17 */ L"end of expression expected",
    /*  18 */ L"does not compute",
    /*  19 */ L"addition does not compute",
    /*  20 */ L"subtraction does not compute",
    /*  21 */ L"multiplication does not compute",
    /*  22 */ L"division does not compute",
    /*  23 */ L"modulus does not compute",
    /*  24 */ L"power does not compute",
    /*  25 */ L"negation does not compute",
    /*  26 */ L"internal parser error",
    /*  27 */ L"\"|\" expected",
    /*  28 */ L"closed bracket expected",
    /*  29 */ L"open bracket expected",
    /*  30 */ L"assignment of incompatible types",
    /*  31 */ L"name expected (illformed name)",
    /*  32 */ L"unknown, missing or illformed function name",
    /*  33 */ L"eval function failed",
    /*  34 */ L"unexpected end of expression",
    /*  35 */ L"dot expression expected (\"*\", \"/\" or \"%\")",
    /*  36 */ L"first argument must be an l-value",
    /*  37 */ L"second argument must be an l-value",
    /*  38 */ L"third argument must be an l-value",
    /*  39 */ L"fourth argument must be an l-value",
    /*  40 */ L"fifth argument must be an l-value",
    /*  41 */ L"sixth argument must be an l-value",
    /*  42 */ L"seventh argument must be an l-value",
    /*  43 */ L"eighth argument must be an l-value",
    /*  44 */ L"argument must be an l-value",
    /*  45 */ L"constant expected",
    /*  46 */ L"file not found",
    /*  47 */ L"Access denied. The file may be write-protected, you may have insufficient privileges, or another application may be accessing the file while we need exclusive access.",
    /*  48 */ L"device not ready",
    /*  49 */ L"sharing violation",
    /*  50 */ L"unexpected end of file",
    /*  51 */ L"file already exists",
    /*  52 */ L"open failed",
    /*  53 */ L"short on magnetic storage",
    /*  54 */ L"invalid filename",
    /*  55 */ L"resource busy",
    /*  56 */ L"cannot create file (no reason given)",
    /*  57 */ L"no such field in table",
    /*  58 */ L"operation not possible for this type of table field",
    /*  59 */ L"no such input or type of input not applicable in this context",
    /*  60 */ L"no such output or type of output not applicable in this context",
    /*  61 */ L"operation is not valid on this kind of signal",
    /*  62 */ L"an internal buffer happens to be NULL - please report this bug",
    /*  63 */ L"wave item has no stream",
    /*  64 */ L"first argument or sub-command is invalid",
    /*  65 */ L"second argument is invalid",
    /*  66 */ L"third argument is invalid",
    /*  67 */ L"fourth argument is invalid",
    /*  68 */ L"fifth argument is invalid",
    /*  69 */ L"sixth argument is invalid",
    /*  70 */ L"seventh argument is invalid",
    /*  71 */ L"eighth argument is invalid",
    /*  72 */ L"ninth argument is invalid",
    /*  73 */ L"tenth argument is invalid",
    /*  74 */ L"eleventh argument is invalid",
    /*  75 */ L"twelfth argument is invalid",
    /*  76 */ L"thirteenth argument is invalid",
    /*  77 */ L"fourteenth argument is invalid",
    /*  78 */ L"fifteenth argument is invalid",
    /*  79 */ L"sixteenth argument is invalid",
    /*  80 */ L"seventeenth argument is invalid",
    /*  81 */ L"eighteenth argument is invalid",
    /*  82 */ L"nineteenth argument is invalid",
    /*  83 */ L"twentieth argument is invalid",
    /*  84 */ L"twenty first argument is invalid",
    /*  85 */ L"twenty-second argument is invalid",
    /*  86 */ L"twenty-third argument is invalid",
    /*  87 */ L"twenty-fourth argument is invalid",
    /*  88 */ L"twenty-fifth argument is invalid",
    /*  89 */ L"twenty-sixth argument is invalid",
    /*  90 */ L"twenty-seventh argument is invalid",
    /*  91 */ L"twenty-eigth argument is invalid",
    /*  92 */ L"twenty-ninth argument is invalid",
    /*  93 */ L"thirtieth argument is invalid",
    /*  94 */ L"cannot attach soundfile",
    /*  95 */ L"cannot setup sequence (bad arguments?)",
    /*  96 */ L"type mismatch (expecting different type)",
    /*  97 */ L"XML file expected",
    /*  98 */ L"no source code specified",
    /*  99 */ L"source code not loaded",
    /* 100 */ L"step 1 of SPU initialization failed",
    /* 101 */ L"step 2 of SPU initialization failed",
    /* 102 */ L"atom or SPU not found",
    /* 103 */ L"recursively using an SPU",
    /* 104 */ L"cannot get pseudo-name of SPU call",
    /* 105 */ L"cannot get definition of SPU name",
    /* 106 */ L"unconnected SPU output/cannot connect SPU output",
    /* 107 */ L"file size exceeding word size",
    /* 108 */ L"no soundfile selected",
    /* 109 */ L"invalid dialog item",
    /* 110 */ L"an option lacks its mandatory argument",
    /* 111 */ L"an option has been supplied with a bad argument",
    /* 112 */ L"bad table field type",
    /* 113 */ L"bad table field repetition count",
    /* 114 */ L"bad table field definition (e.g. redefinition)",
    /* 115 */ L"table item or number expected",
    /* 116 */ L"missing or empty format string",
    /* 117 */ L"format string contains a lonely percent sign",
    /* 118 */ L"numeric format contains more than one dot",
    /* 119 */ L"numeric format with more than one \"l\" modifier",
    /* 120 */ L"format string contains a bad format character",
    /* 121 */ L"format string without arguments",
    /* 122 */ L"format string containing a non-numeric length specification",
    /* 123 */ L"format string containing a non-numeric length specification for a time format",
    /* 124 */ L"XML validation failed",
    /* 125 */ L"XML insertion of sub-document failed",
    /* 126 */ L"impossible case, please report this to the KVO team",
    /* 127 */ L"XML error on adding element",
    /* 128 */ L"XML error on adding data for element",
    /* 129 */ L"XML error on locating first element",
    /* 130 */ L"XML error on locating last element",
    /* 131 */ L"XML error on setting attribute",
    /* 132 */ L"XML file position is unset",
    /* 133 */ L"XML error on setting parent attribute",
    /* 134 */ L"XML error on setting data",
    /* 135 */ L"XML error on getting data",
    /* 136 */ L"XML error on positioning to next element",
    /* 137 */ L"XML error on accessing root element",
    /* 138 */ L"XML error on getting/setting attributes of root element",
    /* 139 */ L"XML error, required attributes are missing",
    /* 140 */ L"XML error on deleting a node",
    /* 141 */ L"XML error on setting document type",
    /* 142 */ L"XML error on removing sub-document",
    /* 143 */ L"XML error on extracting sub-document",
    /* 144 */ L"XML error on getting/setting sort attribute",
    /* 145 */ L"XML error on sorting",
    /* 146 */ L"error on creating, defining, or using an internal table",
    /* 147 */ L"bad XML attribute type",
    /* 148 */ L"XML document type missing",
    /* 149 */ L"XML error on leaving a node",
    /* 150 */ L"out of range on accessing wave item",
    /* 151 */ L"bad or missing table index expression",
    /* 152 */ L"numerical expression expected",
    /* 153 */ L"table index out of range",
    /* 154 */ L"integer expression expected",
    /* 155 */ L"numerical field expected",
    /* 156 */ L"illformed or missing preprocessor constant",
    /* 157 */ L"not (yet) supported",
    /* 158 */ L"missing or empty conditional expression",
    /* 159 */ L"expression lacks proper termination",
    /* 160 */ L"question mark expected",
    /* 161 */ L"colon expected",
    /* 162 */ L"too many expression arguments for COND command - note that each expression must be a single word (try using quotes)",
    /* 163 */ L"invalid/uninitialized number object",
    /* 164 */ L"number of table rows does not match signal",
    /* 165 */ L"number of columns does not match number of channels",
    /* 166 */ L"number of channels does not match",
    /* 167 */ L"no appropriate SFIO buffer (probably the wave item is read-only)",
    /* 168 */ L"invalid or uninitialized SFIO",
    /* 169 */ L"bad or invalid SFIO operation requested",
    /* 170 */ L"invalid Sfio coding mode",
    /* 171 */ L"trying to write to a SFIO without a soundfile attached",
    /* 172 */ L"supplied signal range out of range",
    /* 173 */ L"invalid SFIO flag",
    /* 174 */ L"assignment failed",
    /* 175 */ L"unspecified error on assigning wave item to table item",
    /* 176 */ L"index out of bounds",
    /* 177 */ L"invalid assignment source for wave-item",
    /* 178 */ L"bad table field format",
    /* 179 */ L"assigning an item to itself",
    /* 180 */ L"bad table row expression",
    /* 181 */ L"bad table column expression",
    /* 182 */ L"table row index out of bounds",
    /* 183 */ L"table column index out of bounds",
    /* 184 */ L"trying to edit a control that is not editable",
    /* 185 */ L"trying to edit a field that is not editable",
    /* 186 */ L"table is already editing",
    /* 187 */ L"there is no such control",
    /* 188 */ L"this control must be bound to a variable",
    /* 189 */ L"invalid segment start address",
    /* 190 */ L"invalid segment end address",
    /* 191 */ L"invalid truncation size (negative or larger than file)",
    /* 192 */ L"seek error (positioning beyond end of file?)",
    /* 193 */ L"unable to truncate file",
    /* 194 */ L"no such entry (find operation unsuccessful)",
    /* 195 */ L"XML, binary, text, or section file expected",
    /* 196 */ L"binary or section file expected",
    /* 197 */ L"position argument is unset",
    /* 198 */ L"cannot initialize mutex",
    /* 199 */ L"sum of heights must be > 0",
    /* 200 */ L"bad or unsupported sampling rate",
    /* 201 */ L"no such audio set",
    /* 202 */ L"no such audio segment",
    /* 203 */ L"cannot instantiate object",
    /* 204 */ L"cannot attach soundfile",
    /* 205 */ L"cannot detach soundfile",
    /* 206 */ L"file is no toolbox file",
    /* 207 */ L"no master SFIO",
    /* 208 */ L"begin of slave out of master bounds",
    /* 209 */ L"end of slave out of master bounds",
    /* 210 */ L"bad slave range (start >= end)",
    /* 211 */ L"stack overflow - probably too deep or infinite recursion",
    /* 212 */ L"parse cycle aborted due to an exception",
    /* 213 */ L"comma separating arguments expected",
    /* 214 */ L"name or index of soundfile expected",
    /* 215 */ L"beeping failure",
    /* 216 */ L"table width does not match (index exceeding table width)",
    /* 217 */ L"file is not open for reading",
    /* 218 */ L"file is not open for writing",
    /* 219 */ L"file is not open at all (no handle)",
    /* 220 */ L"section or text file expected",
    /* 221 */ L"neither name nor type supplied",
    /* 222 */ L"NULL item supplied for binary file record",
    /* 223 */ L"bad record index for binary file",
    /* 224 */ L"no such record in binary file",
    /* 225 */ L"end of binary file encountered",
    /* 226 */ L"record header corrupted in binary file",
    /* 227 */ L"record header truncated in binary file",
    /* 228 */ L"record data truncated in binary file",
    /* 229 */ L"operation is only applicable to binary files",
    /* 230 */ L"can only write table, value, and number objects to binary file",
    /* 231 */ L"write error in binary file",
    /* 232 */ L"write error in record header of binary file",
    /* 233 */ L"unspecified error on loading binary file",
    /* 234 */ L"unspecified error on loading text file",
    /* 235 */ L"unspecified error on loading section file",
    /* 236 */ L"unspecified error on writing text file",
    /* 237 */ L"unspecified error on writing section file",
    /* 238 */ L"no expression supplied (this may indicate an internal error that should be reported)",
    /* 239 */ L"exit level must be a number",
    /* 240 */ L"there is no such environment variable",
    /* 241 */ L"there is no such directory",
    /* 242 */ L"too long a path",
    /* 243 */ L"bad segment address",
    /* 244 */ L"too many temporary files in one directory",
    /* 245 */ L"invalid drive letter",
    /* 246 */ L"cannot acquire lock",
    /* 247 */ L"system call failed for no apparent reason",
    /* 248 */ L"there is no such drive",
    /* 249 */ L"this drive is not connected",
    /* 250 */ L"too small a buffer",
    /* 251 */ L"the network provider does not support UNC",
    /* 252 */ L"the network is unavailable",
    /* 253 */ L"bad unit (\"kbytes\", \"mbytes\", or \"gbytes\" expected)",
    /* 254 */ L"bad string index expression",
    /* 255 */ L"bad string length expression",
    /* 256 */ L"graph is not zoomable",
    /* 257 */ L"minimum must be lower than maximum",
    /* 258 */ L"inconsistent asterisks",
    /* 259 */ L"ineffective statement (maybe a mis-spelled macro name or statement)",
    /* 260 */ L"word index out of range",
    /* 261 */ L"SET called on unsupported item type",
    /* 262 */ L"item output returns no data",
    /* 263 */ L"invoking DCOM method failed",
    /* 264 */ L"cannot grow table",
    /* 265 */ L"cannot create unique name (please consult the Kvo support",
    /* 266 */ L"DCOM command failed without an apparent reason",
    /* 267 */ L"cannot get DCOM variable",
    /* 268 */ L"converting table for DDE failed",
    /* 269 */ L"cannot poke data to DDE service item",
    /* 270 */ L"DDE request failed",
    /* 271 */ L"DDE advise loop start failure",
    /* 272 */ L"DDE advise loop stop failure",
    /* 273 */ L"DDE execute failed",
    /* 274 */ L"cannot add dialog control",
    /* 275 */ L"cannot delete file (no reason given)",
    /* 276 */ L"cannot rename file (no reason given)",
    /* 277 */ L"cannot copy file (no reason given)",
    /* 278 */ L"unexpected exception (if in doubt, consult the Kvo support)",
    /* 279 */ L"bad path",
    /* 280 */ L"the FIND command did not manage to find the file",
    /* 281 */ L"the FIND command did not find another file",
    /* 282 */ L"cannot load XML file (no reason given)",
    /* 283 */ L"cannot save XML file (no reason given)",
    /* 284 */ L"cannot delete XML position (no reason given)",
    /* 285 */ L"cannot restore XML position (no reason given)",
    /* 286 */ L"cannot goto XML position (no reason given)",
    /* 287 */ L"cannot add XML sub-document (no reason given)",
    /* 288 */ L"cannot add XML node (no reason given)",
    /* 289 */ L"cannot format iref (probably there is an ID-less element in the IREF path)",
    /* 290 */ L"iref not found",
    /* 291 */ L"no such file item (maybe you are referring to a file item already deleted)",
    /* 292 */ L"argument to QUOTE is empty",
    /* 293 */ L"using options that are mutually exclusive",
    /* 294 */ L"no such file position set",
    /* 295 */ L"sorting on XML file failed (no reason given)",
    /* 296 */ L"setting XML sort attributes failed (no reason given)",
    /* 297 */ L"no such XML element found",
    /* 298 */ L"bad gain",
    /* 299 */ L"string is not an expression",
    /* 300 */ L"terminal node or open bracket expected",
    /* 301 */ L"ineffective DELETE statement",
    /* 302 */ L"there is no such position set",
    /* 303 */ L"empty assignment target",
    /* 304 */ L"file positions differ",
    /* 305 */ L"drive is not available",
    /* 306 */ L"ill-formed segment expression",
    /* 307 */ L"cannot delete position",
    /* 308 */ L"cannot restore position",
    /* 309 */ L"cannot goto position",
    /* 310 */ L"empty position",
    /* 311 */ L"cannot unload soundfile (no reason given)",
    /* 312 */ L"cannot unload soundfile (no reason given)",
    /* 313 */ L"there is no such file",
    /* 314 */ L"cannot delete file",
    /* 315 */ L"cannot rename file",
    /* 316 */ L"load failed",
    /* 317 */ L"cannot save",
    /* 318 */ L"option /Noparse is not valid for the simple READ",
    /* 319 */ L"malformed XML attribute name",
    /* 320 */ L"extended table expected, simple table encountered",
    /* 321 */ L"bad table mode",
    /* 322 */ L"cannot format iref (probably there is an ID-less element in the IREF path)",
    /* 323 */ L"missing or bad file argument",
    /* 324 */ L"no such XML file position",
    /* 325 */ L"no such class (note that the \"::\" operator must be combined with the name of a class, not an instance)",
    /* 326 */ L"the \"::\" operator must be followed by the name of a member function",
    /* 327 */ L"no such method",
    /* 328 */ L"option requires a non-empty argument",
    /* 329 */ L"invalid option argument",
    /* 330 */ L"option requires a one-character argument",
    /* 331 */ L"warning - cannot create file",
    /* 332 */ L"cannot post SPU message (no reason given)",
    /* 333 */ L"cannot allocate file (no reason given)",
    /* 334 */ L"bad left or right position (or bad combination thereof)",
    /* 335 */ L"bad top or bottom position (or bad combination thereof)",
    /* 336 */ L"bad display min/max (or bad combination of values)",
    /* 337 */ L"failed to start display thread - please report this",
    /* 338 */ L"there are now rows in this table",
    /* 339 */ L"cannot initialize slave SFIO",
    /* 340 */ L"cannot unload SPU (no reason given)",
    /* 341 */ L"cannot unload SPU (no reason given)",
    /* 342 */ L"cannot unload macro code (no reason given)",
    /* 343 */ L"cannot unload macro code (no reason given)",
    /* 344 */ L"cannot unload sourcecode (no reason given)",
    /* 345 */ L"cannot unload sourcecode (no reason given)",
    /* 346 */ L"bad unload",
    /* 347 */ L"bad unload",
    /* 348 */ L"cannot allocate item (no reason given)",
    /* 349 */ L"no such shell",
    /* 350 */ L"no such shell",
    /* 351 */ L"too few arguments",
    /* 352 */ L"type mismatch (expecting different type)",
    /* 353 */ L"logical NOT does not compute",
    /* 354 */ L"logical AND does not compute",
    /* 355 */ L"logical OR does not compute",
    /* 356 */ L"equality does not compute",
    /* 357 */ L"unequality does not compute",
    /* 358 */ L"greaterness does not compute",
    /* 359 */ L"lessness does not compute",
    /* 360 */ L"greater-or-equalness does not compute",
    /* 361 */ L"less-or-equalness does not compute",
    /* 362 */ L"internal error: unknown relational operator",
    /* 363 */ L"first argument or sub-command is invalid",
    /* 364 */ L"second argument is invalid",
    /* 365 */ L"third argument is invalid",
    /* 366 */ L"fourth argument is invalid",
    /* 367 */ L"fifth argument is invalid",
    /* 368 */ L"sixth argument is invalid",
    /* 369 */ L"seventh argument is invalid",
    /* 370 */ L"eighth argument is invalid",
    /* 371 */ L"trying to delete a protected item",
    /* 372 */ L"trying to delete a protected item",
    /* 373 */ L"SPU unit still active",
    /* 374 */ L"SPU unit still active",
    /* 375 */ L"cannot delete wave item (no reason given)",
    /* 376 */ L"cannot delete wave item (no reason given)",
    /* 377 */ L"cannot delete conversation (no reason given)",
    /* 378 */ L"cannot delete conversation (no reason given)",
    /* 379 */ L"no such item",
    /* 380 */ L"no such item",
    /* 381 */ L"item is locked by someone else",
    /* 382 */ L"item is locked by someone else",
    /* 383 */ L"caller is already the owner",
    /* 384 */ L"caller is already the owner",
    /* 385 */ L"data transfer to/from GUI failed (item is locked by another shell)",
    /* 386 */ L"data transfer to/from GUI failed (item is locked by another shell)",
    /* 387 */ L"bad slider value",
    /* 388 */ L"table creation failed (no reason given)",
    /* 389 */ L"no such field in table",
    /* 390 */ L"bad left or right position (or bad combination thereof)",
    /* 391 */ L"bad top or bottom position (or bad combination thereof)",
    /* 392 */ L"at least one of /Leading and /Trailing must be used",
    /* 393 */ L"at least one of /Leading and /Trailing must be used",
    /* 394 */ L"missing option",
    /* 395 */ L"cannot add XML sub-document (no reason given)",
    /* 396 */ L"XML file expected",
    /* 397 */ L"invalid option",
    /* 398 */ L"XML error on adding element",
    /* 399 */ L"XML file position is unset",
    /* 400 */ L"XML error on setting parent attribute",
    /* 401 */ L"trying to add more fields than defined",
    /* 402 */ L"trying to add more fields than defined",
    /* 403 */ L"negative field index",
    /* 404 */ L"negative field index",
    /* 405 */ L"redefining table field",
    /* 406 */ L"redefining table field",
    /* 407 */ L"trying to define non-numeric field for parameter table",
    /* 408 */ L"trying to define non-numeric field for parameter table",
    /* 409 */ L"bad table field type",
    /* 410 */ L"not the owner",
    /* 411 */ L"not the owner",
    /* 412 */ L"clipboard access failed (no reason given)",
    /* 413 */ L"clipboard access failed (no reason given)",
    /* 414 */ L"cannot add table entry (no reason given)",
    /* 415 */ L"cannot add table entry (no reason given)",
    /* 416 */ L"no entry with this index",
    /* 417 */ L"no entry with this index",
    /* 418 */ L"accessing table entry failed (no reason given)",
    /* 419 */ L"accessing table entry failed (no reason given)",
    /* 420 */ L"bad table field definition (e.g. redefinition)",
    /* 421 */ L"item output returns no data",
    /* 422 */ L"internal error: entry got lost",
    /* 423 */ L"table index out of range",
    /* 424 */ L"cannot delete table entry",
    /* 425 */ L"cannot delete table entry",
    /* 426 */ L"wave length must be > 0",
    /* 427 */ L"no such helpfile",
    /* 428 */ L"no such helpfile",
    /* 429 */ L"bad path",
    /* 430 */ L"OS command failed",
    /* 431 */ L"OS command failed",
    /* 432 */ L"there is no value table for this field",
    /* 433 */ L"truth value (0 or 1) expected",
    /* 434 */ L"truth value (0 or 1) expected",
    /* 435 */ L"file not found",
    /* 436 */ L"Access denied. The file may be write-protected, you may have insufficient privileges, or another application may be accessing the file while we need exclusive access.",
    /* 437 */ L"device not ready",
    /* 438 */ L"sharing violation",
    /* 439 */ L"file already exists",
    /* 440 */ L"open failed",
    /* 441 */ L"short on magnetic storage",
    /* 442 */ L"invalid filename",
    /* 443 */ L"resource busy",
    /* 444 */ L"cannot create file (no reason given)",
    /* 445 */ L"unexpected end of file",
    /* 446 */ L"bad table field repetition count",
    /* 447 */ L"bad or missing number of rows per row",
    /* 448 */ L"no input",
    /* 449 */ L"no output",
    /* 450 */ L"SetData failed (no reason given)",
    /* 451 */ L"SetFunction failed (no reason given)",
    /* 452 */ L"GetFunction failed (no reason given)",
    /* 453 */ L"SetScale failed (no reason given)",
    /* 454 */ L"SET graph PRINT failed (no reason given)",
    /* 455 */ L"load failed (no reason given)",
    /* 456 */ L"invalid display width",
    /* 457 */ L"SET display PRINT failed (no reason given)",
    /* 458 */ L"too many arguments",
    /* 459 */ L"cannot rename field (no reason given)",
    /* 460 */ L"cannot rename field (no reason given)",
    /* 461 */ L"ill-formed or empty table field name",
    /* 462 */ L"ill-formed or empty table field name",
    /* 463 */ L"not applicable for a control of this kind",
    /* 464 */ L"bad output line limit",
    /* 465 */ L"unknown function code",
    /* 466 */ L"cannot lock environment (please report this)",
    /* 467 */ L"Windows sharing buffer exceeded",
    /* 468 */ L"Windows sharing buffer exceeded",
    /* 469 */ L"Windows reports a lock violation",
    /* 470 */ L"Windows reports a lock violation",
    /* 471 */ L"file or location is write protected",
    /* 472 */ L"file or location is write protected",
    /* 473 */ L"Windows reports a locking failure",
    /* 474 */ L"Windows reports a locking failure",
    /* 475 */ L"network access is denied",
    /* 476 */ L"network access is denied",
    /* 477 */ L"passing an ill-formed cell message",
    /* 478 */ L"passing an ill-formed cell message",
    /* 479 */ L"namespace for automatically generated segment names is exhausted for your chosen index length (e.g. if you chose an index length of 2, you can generate at most 100 segments with names ranging from \"prefix.00\" to \"prefix.99\").",
    /* 480 */ L"namespace for automatically generated segment names is exhausted for your chosen index length (e.g. if you chose an index length of 2, you can generate at most 100 segments with names ranging from \"prefix.00\" to \"prefix.99\").",
    /* 481 */ L"integer is too large for spelling",
    /* 482 */ L"integer is too large for spelling",
    /* 483 */ L"ADDMARKER control table lacking the ID entry",
    /* 484 */ L"cannot allocate item (no reason given)",
    /* 485 */ L"unsupported byte order mark",
};
// clang-format on

static constexpr wchar_t kCodeZeroText[] =
    L"The error code 0 does not indicate an error having occured. Usually, "
    L"it even indicates an error not having occured.";
static constexpr wchar_t kUnknownCodeText[] = L"Unknown or invalid numerical error code.";

// The codes marked (w). 0 is a warning by definition and handled apart.
static constexpr int kWarningCodes[] = {
    15,  129, 136, 194, 280, 281, 290, 292, 297, 299, 301, 304, 305, 306, 307, 308, 309, 310, 312, 313, 314,
    315, 316, 317, 322, 323, 324, 331, 341, 343, 345, 350, 351, 352, 363, 364, 365, 366, 367, 368, 369, 370,
    372, 374, 376, 378, 380, 382, 384, 386, 388, 389, 390, 391, 392, 393, 394, 395, 396, 397, 398, 399, 400,
    402, 404, 406, 408, 409, 411, 413, 415, 417, 419, 420, 421, 423, 425, 428, 429, 431, 434, 435, 436, 437,
    438, 439, 440, 441, 442, 443, 444, 445, 446, 458, 460, 462, 468, 470, 472, 474, 476, 478, 480, 482, 484,
};

// Error and its silent twin. Kept as the language has it, quirks included: a
// few twins word their message differently (197/310, 275/314, 276/315,
// 284-286/307-309), 347 is the twin of 346 yet not marked (w), and 392 is
// itself a warning. Pairs the system-error table uses on its own (471/472,
// 38's 50/445 ...) are not twins here, because the twin table does not list them.
struct TwinPair {
    int error;
    int twin;
};
static constexpr TwinPair kSilentTwins[] = {
    {2, 351},   {5, 397},   {6, 394},   {46, 435},  {47, 436},  {48, 437},  {49, 438},  {51, 439},
    {52, 440},  {53, 441},  {54, 442},  {55, 443},  {56, 444},  {57, 389},  {64, 363},  {65, 364},
    {66, 365},  {67, 366},  {68, 367},  {69, 368},  {70, 369},  {71, 370},  {96, 352},  {97, 396},
    {112, 409}, {114, 420}, {127, 398}, {132, 399}, {133, 400}, {153, 423}, {197, 310}, {262, 421},
    {275, 314}, {276, 315}, {279, 429}, {284, 307}, {285, 308}, {286, 309}, {287, 395}, {289, 322},
    {311, 312}, {334, 390}, {335, 391}, {340, 341}, {342, 343}, {344, 345}, {346, 347}, {349, 350},
    {371, 372}, {373, 374}, {375, 376}, {377, 378}, {379, 380}, {381, 382}, {383, 384}, {385, 386},
    {392, 393}, {401, 402}, {403, 404}, {405, 406}, {407, 408}, {410, 411}, {412, 413}, {414, 415},
    {416, 417}, {418, 419}, {424, 425}, {427, 428}, {430, 431}, {433, 434},
};

struct SystemErrorRow {
    unsigned long systemError;
    int code;
    int silent;
};
static constexpr SystemErrorRow kSystemErrors[] = {
    {2, 46, 435},     {3, 46, 435},     {15, 46, 435},    {20, 46, 435},   {53, 46, 435},    {55, 46, 435},
    {5, 47, 436},     {19, 471, 472},   {21, 48, 437},    {32, 49, 438},   {33, 469, 470},   {36, 467, 468},
    {38, 50, 445},    {50, 251, 251},   {65, 475, 476},   {80, 51, 439},   {110, 52, 440},   {112, 53, 441},
    {123, 54, 442},   {167, 473, 474},  {170, 55, 443},   {234, 250, 250}, {1200, 248, 248}, {1201, 249, 249},
    {2250, 249, 249}, {1203, 252, 252}, {1222, 252, 252},
};

// Linux errno -> the Windows condition it stands for. Chosen by what the
// failing call means to the macro writer, not by name likeness:
//
//   ENOENT                      2    file not found
//   ENOTDIR, ELOOP              3    path not found (a component is no
//                                    directory / cannot be resolved)
//   EACCES, EPERM, EISDIR       5    access denied (Windows, too, answers a
//                                    write-open of a directory so)
//   EROFS                      19    write protected
//   ENODEV, ENXIO, ENOMEDIUM,  21    not ready: no medium, no driver, or a
//   EIO                              medium that went away under us, which
//                                    is what EIO mostly means on Linux
//   ETXTBSY                    32    sharing violation (running executable)
//   EAGAIN (= EWOULDBLOCK)     33    lock violation (a non-blocking lock that
//                                    someone else holds; file items never do
//                                    non-blocking reads)
//   ENOLCK                     36    sharing buffer exceeded (lock table full)
//   EEXIST                     80    file exists
//   ENOSPC, EDQUOT            112    disk full
//   ENAMETOOLONG, EINVAL,     123    invalid name (EINVAL from a path call is
//   EILSEQ                           a name the file system refuses)
//   EDEADLK                   167    locking failed (a blocking lock would
//                                    deadlock)
//   EBUSY                     170    busy (mount point, device in use)
//   ERANGE                    234    caller's buffer too small (getcwd ...)
//   ENETDOWN, ENETUNREACH    1222    no network
//   EHOSTDOWN, EHOSTUNREACH  1203    network path unreachable
//   ENOTCONN                 2250    not connected (a FUSE or network mount
//                                    whose server went away)
//
// Deliberately unmapped, so the caller's own code stands: ENOMEM and ENOBUFS
// (out of memory, Windows 8/14 are not in the table), EMFILE/ENFILE (4),
// EXDEV (17), ENOTEMPTY (145), EFBIG (223), EBADF, EINTR, ESTALE. EOPNOTSUPP
// is Windows 50, but the table's row for 50 speaks of UNC names, a network
// lookup Linux does not have; its text would mislead about a local file
// system. End of file (Windows 38) has no errno; readers report it with
// their own code.
static_assert(EAGAIN == EWOULDBLOCK);
struct ErrnoRow {
    int err;
    unsigned long systemError;
};
static constexpr ErrnoRow kErrnoRows[] = {
    {ENOENT, 2},          {ENOTDIR, 3},        {ELOOP, 3},       {EACCES, 5},         {EPERM, 5},
    {EISDIR, 5},          {EROFS, 19},         {ENODEV, 21},     {ENXIO, 21},         {EIO, 21},
#ifdef ENOMEDIUM
    {ENOMEDIUM, 21},
#endif
    {ETXTBSY, 32},        {EAGAIN, 33},        {ENOLCK, 36},     {EEXIST, 80},        {ENOSPC, 112},
    {EDQUOT, 112},        {ENAMETOOLONG, 123}, {EINVAL, 123},    {EILSEQ, 123},       {EDEADLK, 167},
    {EBUSY, 170},         {ERANGE, 234},       {ENETDOWN, 1222}, {ENETUNREACH, 1222}, {EHOSTDOWN, 1203},
    {EHOSTUNREACH, 1203}, {ENOTCONN, 2250},
};

constexpr bool InTable(int code) {
    return code >= 0 && code < kErrorCount;
}

constexpr std::array<bool, kErrorCount> MakeWarningFlags() {
    std::array<bool, kErrorCount> flags{};
    flags[0] = true;
    for (int code : kWarningCodes) flags[code] = true;
    return flags;
}
static constexpr std::array<bool, kErrorCount> kIsWarning = MakeWarningFlags();

constexpr std::array<int, kErrorCount> MakeTwinIndex() {
    std::array<int, kErrorCount> twins{};
    for (int& twin : twins) twin = -1;
    for (const TwinPair& pair : kSilentTwins) twins[pair.error] = pair.twin;
    return twins;
}
static constexpr std::array<int, kErrorCount> kTwinOf = MakeTwinIndex();

// The table must stay exactly the language's: 485 texts after an empty entry 0,
// 105 marked codes, each twin pair inside the table.
constexpr bool TextsComplete() {
    if (!kErrorTexts[0].empty()) return false;
    for (int code = 1; code < kErrorCount; ++code)
        if (kErrorTexts[code].empty()) return false;
    return true;
}
static_assert(TextsComplete());
static_assert(std::size(kWarningCodes) == 105);
static_assert(std::size(kSilentTwins) == 70);
constexpr bool TwinsInRange() {
    for (const TwinPair& pair : kSilentTwins)
        if (pair.error <= 0 || pair.error >= kErrorCount || pair.twin <= 0 || pair.twin >= kErrorCount)
            return false;
    for (int code : kWarningCodes)
        if (code <= 0 || code >= kErrorCount) return false;
    return true;
}
static_assert(TwinsInRange());

// ErrorText hands out references, so the texts live as Text once, built on
// first use (thread-safe as a function-local static).
const std::array<Text, kErrorCount + 1>& TextObjects() {
    static const std::array<Text, kErrorCount + 1> texts = [] {
        std::array<Text, kErrorCount + 1> built;
        built[0] = kCodeZeroText;
        for (int code = 1; code < kErrorCount; ++code) built[code] = Text(kErrorTexts[code]);
        built[kErrorCount] = kUnknownCodeText;
        return built;
    }();
    return texts;
}

} // namespace

const Text& ErrorText(int code) {
    const auto& texts = TextObjects();
    return InTable(code) ? texts[code] : texts[kErrorCount];
}

void ErrorText(int code, Text& out) {
    out = ErrorText(code);
}

bool IsWarning(int code) {
    return InTable(code) && kIsWarning[code];
}

bool IsError(int code) {
    return !IsWarning(code);
}

int SilentTwin(int code, int fallback) {
    if (!InTable(code) || kTwinOf[code] < 0) return fallback;
    return kTwinOf[code];
}

int MapSystemError(unsigned long systemError, bool silent, int fallback) {
    for (const SystemErrorRow& row : kSystemErrors)
        if (row.systemError == systemError) return silent ? row.silent : row.code;
    return fallback;
}

int MapErrno(int err, bool silent, int fallback) {
    if (err <= 0) return fallback;
    for (const ErrnoRow& row : kErrnoRows)
        if (row.err == err) return MapSystemError(row.systemError, silent, fallback);
    return fallback;
}

int ArgumentError(int position, bool silent) {
    if (position < 1) return 4;
    if (silent) return position <= 8 ? 362 + position : 4;
    return position <= 30 ? 63 + position : 4;
}
