#!/bin/sh

# 
# tarnel(TM)
# runme.sh: a tarnel-generated Runs Script for UNIX
# Copyright the testers
# 

if [ -z "$PATH" ]; then
  PATH=:/opt/tarnel/bin
else
  PATH=:/opt/tarnel/bin:$PATH
fi
export PATH

if [ -z "$LD_LIBRARY_PATH" ]; then
  LD_LIBRARY_PATH=
else
  LD_LIBRARY_PATH=:$LD_LIBRARY_PATH
fi
export LD_LIBRARY_PATH

MQ_PWD='@RUNDIR@'
cd "$MQ_PWD"

MQ_LOG=runme.log
/bin/touch $MQ_LOG

ZUMStep="./ZUMWrap.sh"
EAStep()
{
     $ZUMStep $MQ_LOG "$@" >> $MQ_LOG 2>&1
     if [ $? -ne 0 ]
     then
         exit
     fi
}

TOOL_1="my source.v"

TOOL_2="/the/other source.v"

EAStep tool -in "$TOOL_1" -out plain.v "$TOOL_2"
TOOL_1="again here.v"

EAStep tool -in "$TOOL_1"
OTHER9_1=" "

EAStep Other9 -part two words -in "$OTHER9_1"
