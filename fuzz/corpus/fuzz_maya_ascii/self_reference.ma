//Maya ASCII 2020 scene
//Codeset: UTF-8
requires maya "2020";
currentUnit -l centimeter -a degree -t film;
file -r -ns "inner" -rfn "innerRN" "/fuzz/ref.ma";
createNode transform -n "top";

//@@ref
//Maya ASCII 2020 scene
//Codeset: UTF-8
requires maya "2020";
currentUnit -l centimeter -a degree -t film;
file -r -ns "inner" -rfn "innerRN" "/fuzz/ref.ma";
createNode transform -n "top";
