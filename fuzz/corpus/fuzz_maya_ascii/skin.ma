//Maya ASCII 2020 scene
requires maya "2020";
currentUnit -l centimeter -a degree -t film;
createNode transform -n "rig";
createNode transform -n "body" -p "rig";
createNode mesh -n "bodyShape" -p "body";
	setAttr -k off ".v";
createNode mesh -n "bodyShapeOrig" -p "body";
	setAttr ".io" yes;
	setAttr ".uvst[0].uvsn" -type "string" "map1";
	setAttr -s 4 ".uvst[0].uvsp[0:3]" -type "float2" 0 0 1 0 1 1 0 1;
	setAttr ".cuvs" -type "string" "map1";
	setAttr ".clst[0].clsn" -type "string" "colorSet1";
	setAttr -s 4 ".clst[0].clsp[0:3]"  1 0 0 1 0 1 0 1 0 0 1 1 1 1 1 0.5;
	setAttr -s 4 ".vt[0:3]"  -1 0 1 1 0 1 1 0 -1 -1 0 -1;
	setAttr ".pt[2]" -type "float3" 0 0.5 0;
	setAttr -s 5 ".ed[0:4]"  0 1 0 1 2 1 2 3 0 3 0 1 0 2 1;
	setAttr -s 2 -ch 6 ".fc[0:1]" -type "polyFaces" 
		f 3 0 1 -5
		mu 0 3 0 1 2
		mc 0 3 0 1 2
		f 3 4 2 3
		mu 0 3 0 2 3
		mc 0 3 0 2 3;
	setAttr -s 3 ".n[0:2]" -type "float3"  0 1 0 1e+20 1e+20 1e+20 0 1 0;
createNode joint -n "hip" -p "rig";
	setAttr ".jo" -type "double3" 0 0 90 ;
createNode joint -n "knee" -p "hip";
	setAttr ".t" -type "double3" 0 -5 0 ;
	setAttr ".ssc" no;
createNode skinCluster -n "skinCluster1";
	setAttr -s 4 ".wl";
	setAttr ".wl[0:3].w"
		1 0 1
		2 0 0.5 1 0.5
		1 1 1
		2 0 0.25 1 0.75;
	setAttr ".wl[2].w[0]" 0.1;
	setAttr ".pm[0]" -type "matrix" 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1;
	setAttr ".pm[1]" -type "matrix" 1 0 0 0 0 1 0 0 0 0 1 0 0 5 0 1;
	setAttr ".gm" -type "matrix" 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1;
createNode tweak -n "tweak1";
createNode groupParts -n "groupParts1";
	setAttr ".ic" -type "componentList" 1 "vtx[*]";
createNode animCurveTA -n "hip_rotateZ";
	setAttr ".tan" 18;
	setAttr ".wgt" no;
	setAttr -s 3 ".ktv[0:2]"  1 0 10 45 20 0;
	setAttr -s 3 ".kit[2]"  1;
	setAttr -s 3 ".kix[2]"  1;
	setAttr -s 3 ".kiy[2]"  0;
	setAttr ".pre" 3;
	setAttr ".pst" 4;
createNode script -n "sceneConfigurationScriptNode";
	setAttr ".b" -type "string" "playbackOptions -min 1 -max 20 -ast 1 -aet 20 ";
select -ne :time1;
	setAttr ".o" 3;
connectAttr "skinCluster1.og[0]" "bodyShape.i";
connectAttr "groupParts1.og" "skinCluster1.ip[0].ig";
connectAttr "tweak1.og[0]" "groupParts1.ig";
connectAttr "bodyShapeOrig.w" "tweak1.ip[0].ig";
connectAttr "hip.wm" "skinCluster1.ma[0]";
connectAttr "knee.wm" "skinCluster1.ma[1]";
connectAttr "hip.s" "knee.is";
connectAttr "hip_rotateZ.o" "hip.rz";
connectAttr "bodyShape.iog" ":initialShadingGroup.dsm" -na;
