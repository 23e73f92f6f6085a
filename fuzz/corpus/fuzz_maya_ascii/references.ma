//Maya ASCII 2020 scene
//Codeset: UTF-8
requires maya "2020";
currentUnit -l centimeter -a degree -t film;
file -rdi 1 -ns "prop" -rfn "propRN" "C:/Users/x/scenes/ref.ma";
file -r -ns "prop" -dr 1 -rfn "propRN" "C:/Users/x/scenes/ref.ma";
file -r -ns "again" -dr 1 -rfn "againRN" "/fuzz/ref.ma";
createNode fosterParent -n "propRNfosterParent1";
createNode transform -n "extra" -p "propRNfosterParent1";
createNode animCurveTL -n "drive";
	setAttr -s 2 ".ktv[0:1]"  1 0 24 10;
createNode reference -n "propRN";
	setAttr ".phl[1]" 0;
	setAttr ".ed" -type "dataReferenceEdits" 
		"propRN"
		"propRN" 5
		0 "|propRNfosterParent1|extra" "|prop:a" "-s -r "
		2 "|prop:a" "translate" " -type \"double3\" 1 2 3"
		1 |prop:a "note" "nt" " -dt \"string\""
		4 "prop:cx.output" "prop:c.translateX"
		5 4 "propRN" "|prop:a.translateZ" "propRN.placeHolderList[1]" "";
connectAttr "drive.o" "propRN.phl[1]";

//@@ref
//Maya ASCII 2020 scene
//Codeset: UTF-8
requires maya "2020";
currentUnit -l centimeter -a degree -t film;
createNode transform -n "a";
createNode transform -n "b" -p "a";
	setAttr ".t" -type "double3" 5 0 0 ;
createNode animCurveTL -n "cx";
	setAttr -s 2 ".ktv[0:1]"  1 0 24 5;
createNode transform -n "c";
connectAttr "cx.o" "c.tx";
