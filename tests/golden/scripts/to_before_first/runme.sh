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

