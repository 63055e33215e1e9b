#!/bin/sh

# 
# tarnel(TM)
# place_design_reports.sh: a tarnel-generated reports generation script for UNIX
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

MQ_LOG=place_design_reports.log
/bin/touch $MQ_LOG

ZUMStep="./ZUMWrapReports.sh"
EAStep()
{
     $ZUMStep $MQ_LOG "$@" >> $MQ_LOG 2>&1
     if [ $? -ne 0 ]
     then
         exit
     fi
}

EAStep tarnel -nolog -nojournal -notrace -mode batch -product tarnel -source C:\runs\new "all".tcl -tclargs place_design