//Maya ASCII 2020 scene
//Name: split_skeleton.ma
//Codeset: UTF-8
// Two joint chains side by side under the world, and one mesh skinned to
// both: its joints have no common root in the DAG. Written for the glTF
// validator run (tools/validate-gltf.sh).
requires maya "2020";
currentUnit -l centimeter -a degree -t film;
createNode joint -n "left_arm";
	setAttr ".t" -type "double3" -2 5 0 ;
createNode joint -n "left_hand" -p "left_arm";
	setAttr ".t" -type "double3" -2 0 0 ;
createNode joint -n "right_arm";
	setAttr ".t" -type "double3" 2 5 0 ;
createNode joint -n "right_hand" -p "right_arm";
	setAttr ".t" -type "double3" 2 0 0 ;
createNode transform -n "band";
createNode mesh -n "bandShape" -p "band";
	setAttr -k off ".v";
	setAttr ".vir" yes;
	setAttr ".uvst[0].uvsn" -type "string" "map1";
	setAttr -s 4 ".uvst[0].uvsp[0:3]" -type "float2" 0 0 1 0 1 1 0 1;
	setAttr -s 4 ".vt[0:3]"  -4 4 0 4 4 0 4 6 0 -4 6 0;
	setAttr -s 4 ".ed[0:3]"  0 1 0 1 2 0 2 3 0 3 0 0;
	setAttr -s 1 -ch 4 ".fc[0]" -type "polyFaces" f 4 0 1 2 3 mu 0 4 0 1 2 3;
createNode mesh -n "bandShapeOrig" -p "band";
	setAttr -k off ".v";
	setAttr ".io" yes;
	setAttr ".uvst[0].uvsn" -type "string" "map1";
	setAttr -s 4 ".uvst[0].uvsp[0:3]" -type "float2" 0 0 1 0 1 1 0 1;
	setAttr -s 4 ".vt[0:3]"  -4 4 0 4 4 0 4 6 0 -4 6 0;
	setAttr -s 4 ".ed[0:3]"  0 1 0 1 2 0 2 3 0 3 0 0;
	setAttr -s 1 -ch 4 ".fc[0]" -type "polyFaces" f 4 0 1 2 3 mu 0 4 0 1 2 3;
createNode skinCluster -n "skinCluster1";
	setAttr -s 4 ".wl";
	setAttr ".wl[0:3].w" 1 0 1 1 1 1 1 1 1 1 0 1;
	setAttr -s 2 ".pm";
	setAttr ".pm[0]" -type "matrix" 1 0 0 0 0 1 0 0 0 0 1 0 4 -5 0 1;
	setAttr ".pm[1]" -type "matrix" 1 0 0 0 0 1 0 0 0 0 1 0 -4 -5 0 1;
	setAttr ".gm" -type "matrix" 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1;
connectAttr "left_hand.wm" "skinCluster1.ma[0]";
connectAttr "right_hand.wm" "skinCluster1.ma[1]";
connectAttr "bandShapeOrig.w" "skinCluster1.ip[0].ig";
connectAttr "skinCluster1.og[0]" "bandShape.i";
connectAttr "bandShape.iog" ":initialShadingGroup.dsm" -na;
