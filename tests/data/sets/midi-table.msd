


11/20/26 musedata tests
WK#:11 MV#:3
musedata test data, no printed source
Quartet in F
Menuetto
Flauto solo
0 0
Group memberships: score
score: part 1 of 1
$  K:-1  Q:2  T:3/4  C:4
F5     2        q     d
G5     2        q     d
A5     2        q     d
measure 1
F5     6        h.    d
mheavy2
/END



11/20/26 musedata tests
WK#:11 MV#:3
musedata test data, no printed source
Quartet in F
Menuetto
MIDI channels
0 0
Group memberships: midi
midi: part 1 of 1
hdr   channel program volume
h1    1       74      100
h2    2       41      90
/END
