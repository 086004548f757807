@@@ Trio Sonata, second movement: a set of our own making
&
FILENAME = 03
&
(C) 2026 the musedata project; test data of our own making

ID: {musedata/tests/sets/trio} [3]
11/20/26 musedata tests
WK#:7 MV#:2
musedata test data, no printed source
Trio Sonata
Andante
Basso
0 0
Group memberships: score sound
score: part 3 of 3
sound: part 3 of 4
$  K:-1  Q:2  T:2/4  C:22
Bf2    2        q     u
F3     2        q     d
measure 1
Bf2    4        h     u
measure 2
/END
/eof
&
FILENAME = 01
&
(C) 2026 the musedata project; test data of our own making

ID: {musedata/tests/sets/trio} [1]
11/20/26 musedata tests
WK#:7 MV#:2
musedata test data, no printed source
Trio Sonata
Andante
Violino
0 0
Group memberships: score sound
score: part 1 of 3
sound: part 1 of 4
$  K:-1  Q:2  T:2/4  C:4
F5     2        q     d
A5     2        q     d
measure 1
Bf5    4        h     d
measure 2
/END
/eof
&
FILENAME = 04
&
(C) 2026 the musedata project; test data of our own making

ID: {musedata/tests/sets/trio} [4]
11/20/26 musedata tests
WK#:7 MV#:2
musedata test data, no printed source
Trio Sonata
Andante
Organo (realisation)
0 0
Group memberships: sound
sound: part 4 of 4
$  K:-1  Q:2  T:2/4  C:4
D4     2        q     u
C4     2        q     u
measure 1
D4     4        h     u
measure 2
/END
/eof
&
FILENAME = 02
&
(C) 2026 the musedata project; test data of our own making

ID: {musedata/tests/sets/trio} [2]
11/20/26 musedata tests
WK#:7 MV#:2
musedata test data, no printed source
Trio Sonata
Andante
Flauto
0 0
Group memberships: score sound
score: part 2 of 3
sound: part 2 of 4
$  K:-1  Q:2  T:2/4  C:4
D5     2        q     d
F5     2        q     d
measure 1
G5     4        h     d
measure 2
/END
/eof
//
