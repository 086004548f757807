&
FILENAME = 01
&
(C) 2026 the musedata project; test data of our own making

ID: {musedata/tests/sets/quartet}
11/20/26 musedata tests
WK#:11 MV#:3
musedata test data, no printed source
Quartet in F
Menuetto
Violino I
0 0
Group memberships: score
score: part 1 of 4
$  K:-1  Q:2  T:3/4  C:4
A5     2        q     d
C6     2        q     d
F5     2        q     d
measure 1
E5     6        h.    d
mheavy2
/END
/eof
&
FILENAME = 02
2&&& the line that closed this block is damaged beyond reading
(C) 2026 the musedata project; test data of our own making

ID: {musedata/tests/sets/quartet}
11/20/26 musedata tests
WK#:11 MV#:3
musedata test data, no printed source
Quartet in F
Menuetto
Violino II
0 0
Group memberships: score
score: part 2 of 4
$  K:-1  Q:2  T:3/4  C:4
F5     2        q     d
A5     2        q     d
C5     2        q     d
measure 1
G4     6        h.    u
mheavy2
/END
/eof
&
FILENAME = 03
&
(C) 2026 the musedata project; test data of our own making

ID: {musedata/tests/sets/quartet}
11/20/26 musedata tests
WK#:11 MV#:3
musedata test data, no printed source
Quartet in F
Menuetto
Viola
0 0
Group memberships: score
score: part 3 of 4
$  K:-1  Q:2  T:3/4  C:13
C4     2        q     u
A3     2        q     u
F3     2        q     u
measure 1
C4     6        h.    u
mheavy2
/END
/eof
//
