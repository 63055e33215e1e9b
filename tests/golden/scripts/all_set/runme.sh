#!/bin/sh

# 
# tarnel(TM)
# runme.sh: a tarnel-generated Runs Script for UNIX
# Copyright the testers
# 

if [ -z "$PATH" ]; then
  PATH=/opt/first/bin:/opt/second/bin:/opt/tarnel/bin
else
  PATH=/opt/first/bin:/opt/second/bin:/opt/tarnel/bin:$PATH
fi
export PATH

if [ -z "$LD_LIBRARY_PATH" ]; then
  LD_LIBRARY_PATH=/opt/first/lib
else
  LD_LIBRARY_PATH=/opt/first/lib:$LD_LIBRARY_PATH
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

EAStep synth -flag -level 7 -part up 5k -D A=1 -D B=2 -effort high -in top.v extra.v
